// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <vector>

#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::sonrel::detail {

/// How a picture is drawn, whatever is drawn.
struct WaveformLook {
    WaveformPreview::Style style;
    WaveformPreview::Scale scale;
    WaveformPreview::Color background;
    WaveformPreview::Color waveform;
    QImage::Format format;
    int height;  ///< pixels
};

/// Draws minima and maxima of channels, a column for each point.
/// @param peaks     for each point, minimum and maximum of each channel, full scale 127
/// @param channels  1 to 16
/// @return a null image when there is no point or no row
QImage PaintPeaks(const WaveformLook& look, const std::vector<signed char>& peaks, int channels);

/// Draws an RMS envelope, a column for each point.
/// @param amplitudes  full scale 255
/// @return a null image when there is no point or no row
QImage PaintEnvelope(const WaveformLook& look, const std::vector<unsigned char>& amplitudes);

}  // namespace orlo::sonrel::detail
