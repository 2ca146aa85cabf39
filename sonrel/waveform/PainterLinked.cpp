// SPDX-License-Identifier: MIT
// The painter of a program that links it together with the engine.
#include "sonrel/waveform/Painter.h"

namespace orlo::sonrel::detail {

const PainterFunctions* FindPainter(std::string*) {
    return SonrelPainter();
}

}  // namespace orlo::sonrel::detail
