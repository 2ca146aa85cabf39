// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/waveform/LabelFont.h"
#include "host/waveform/Picture.h"
#include "sonrel/base/Export.h"

namespace orlo::host {

/// The work on pictures that needs the drawing library or the font library.
struct PicturePainter {
    OpenLabelFont openFont;
    /// The picture as RGBA8888.
    /// @return a picture without bytes when there is not enough memory
    Picture (*toRgba)(const Picture& picture);
    /// The bytes of a PNG file; empty when there is not enough memory.
    std::string (*encodePng)(const Picture& picture);
};

/// The message for a drawing library that does not load.
/// @param reason  names the file
inline std::string PainterMissing(const std::string& reason) {
    return "the drawing library does not load (" + reason +
           "); install it, on Debian with the package libsonrel0-painter";
}

/// Finds the functions: in a module that is loaded at the first use, or in the program where the
/// drawing library is linked.
/// @throws JobError when the module does not load
const PicturePainter& FindPicturePainter();

}  // namespace orlo::host

/// The only export of the module `pictures.so`.
extern "C" SONREL_EXPORT const orlo::host::PicturePainter* SonrelPicturePainter();
