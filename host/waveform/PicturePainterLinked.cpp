// SPDX-License-Identifier: MIT
// The painter of a program that links the drawing library.
#include "host/waveform/PicturePainter.h"

namespace orlo::host {

const PicturePainter& FindPicturePainter() {
    return *SonrelPicturePainter();
}

}  // namespace orlo::host
