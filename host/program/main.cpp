// SPDX-License-Identifier: MIT
#include <QtGlobal>

#include "host/program/Program.h"
#include "host/shell/Interrupt.h"
#include "host/shell/LibraryMessage.h"
#include "sonrel/media/input/InterruptScope.h"
#include "sonrel/media/input/MediaLog.h"

int main(int argumentCount, char** arguments) {
    orlo::host::CatchInterrupts();
    const zrh::media::InterruptScope stopMedia(orlo::host::Interrupted);
    // Failures of the libraries are reported through result codes, as a single line.
    zrh::media::SetMediaLog(orlo::host::StoreLibraryMessage);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return orlo::host::RunProgram(argumentCount, arguments);
}
