// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <vector>

#include "sonrel/waveform/Painter.h"

namespace orlo::sonrel::detail {

QImage::Format PixelFormat(WaveformPreview::Format format);

/// Draws minima and maxima of channels, a column for each point.
/// @param peaks     for each point, minimum and maximum of each channel, full scale 127
/// @param channels  1 to 16
/// @return a null image without points or rows
QImage PaintPeaks(const PaintSettings& paint, const std::vector<signed char>& peaks, int channels);

/// Draws an RMS envelope, a column for each point.
/// @param amplitudes  full scale 255
/// @return a null image without points or rows
QImage PaintEnvelope(const PaintSettings& paint, const std::vector<unsigned char>& amplitudes);

}  // namespace orlo::sonrel::detail
