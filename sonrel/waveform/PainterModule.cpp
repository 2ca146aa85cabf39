// SPDX-License-Identifier: MIT
// The painter of a shared library, in a module that is loaded at the first use.
#include <atomic>

#include "sonrel/files/Module.h"
#include "sonrel/waveform/Painter.h"

namespace orlo::sonrel::detail {

const PainterFunctions* FindPainter(std::string* failure) {
    static std::atomic<const PainterFunctions*> loaded = nullptr;
    if (loaded == nullptr) {
        loaded = files::LoadModule<PainterFunctions>(reinterpret_cast<const void*>(&FindPainter),
                                                     SONREL_MODULE_FOLDER "/painter.so",
                                                     "SonrelPainter", failure);
    }
    return loaded;
}

}  // namespace orlo::sonrel::detail
