// SPDX-License-Identifier: MIT
// The painter of a program that links the shared libraries: in a module, next to the modules of the
// engine.
#include "host/shell/Errors.h"
#include "host/waveform/PicturePainter.h"
#include "sonrel/files/Module.h"
#include "sonrel/playback/AudioOutput.h"

namespace orlo::host {

const PicturePainter& FindPicturePainter() {
    // A function of the engine's library, in whose folder the modules are.
    const auto neighbour = reinterpret_cast<const void*>(&sonrel::SetAudioBufferMilliseconds);
    std::string failure;
    const auto* painter = files::LoadModule<PicturePainter>(
        neighbour, SONREL_MODULE_FOLDER "/pictures.so", "SonrelPicturePainter", &failure);
    if (painter == nullptr) throw JobError(PainterMissing(failure));
    return *painter;
}

}  // namespace orlo::host
