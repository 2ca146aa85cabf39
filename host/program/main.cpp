// SPDX-License-Identifier: MIT
#include <cstdarg>
#include <cstdio>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

#include <QtGlobal>

#include "host/program/Program.h"
#include "host/shell/Interrupt.h"
#include "host/shell/LibraryMessage.h"
#include "sonrel/media/input/InterruptScope.h"

namespace {

/// Keeps the errors for the messages of the program and prints nothing.
void KeepError(void*, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR) return;
    char text[256];
    std::vsnprintf(text, sizeof(text), format, arguments);
    std::string message = text;
    while (message.ends_with('\n')) message.pop_back();
    orlo::host::StoreLibraryMessage(message);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    orlo::host::CatchInterrupts();
    const zrh::media::InterruptScope stopMedia(orlo::host::Interrupted);
    // Failures of the libraries are reported through result codes, as a single line.
    av_log_set_callback(KeepError);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return orlo::host::RunProgram(argumentCount, arguments);
}
