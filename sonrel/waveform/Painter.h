// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::sonrel::detail {

/// The settings of a picture.
struct PaintSettings {
    WaveformPreview::Style style;
    WaveformPreview::Scale scale;
    WaveformPreview::Color background;
    WaveformPreview::Color waveform;
    WaveformPreview::Format format;
    int width;   ///< pixels; a drawing with fewer points is stretched to it
    int height;  ///< pixels
};

/// The buffer of a host.
struct ImageBuffer {
    unsigned char* bytes;
    int size;
};

/// The functions that need the drawing library.
struct PainterFunctions {
    /// Whether an image of this size can be made.
    bool (*hasRoom)(int width, int height, WaveformPreview::Format format);
    /// Draws minima and maxima of channels, a column for each point.
    /// @param peaks     for each point, minimum and maximum of each channel, full scale 127
    /// @param channels  1 to 16
    /// @return the result of WaveformPreview::CreateImage
    int (*paintPeaks)(const PaintSettings& paint, const std::vector<signed char>& peaks,
                      int channels, const ImageBuffer& buffer);
    /// Draws an RMS envelope, a column for each point.
    /// @param amplitudes  full scale 255
    /// @return the result of WaveformPreview::CreateImage
    int (*paintEnvelope)(const PaintSettings& paint, const std::vector<unsigned char>& amplitudes,
                         const ImageBuffer& buffer);
};

/// Finds the functions: in a module that is loaded at the first use, or in the program where the
/// drawing library is linked. They stay loaded until the process ends.
///
/// Threads: any.
/// @param failure  receives the reason of a failure; may be null
/// @return null on failure
/// @throws std::bad_alloc
const PainterFunctions* FindPainter(std::string* failure);

}  // namespace orlo::sonrel::detail

/// The only export of the module `painter.so`, which alone links the drawing library, and a part of
/// a program that links the engine statically.
extern "C" SONREL_EXPORT const orlo::sonrel::detail::PainterFunctions* SonrelPainter();
