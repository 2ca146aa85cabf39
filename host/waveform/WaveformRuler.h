// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <string>
#include <vector>

#include "host/waveform/TimeRuler.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

/// Rows that a time ruler takes below a waveform.
constexpr int RULER_HEIGHT = 20;

/// A time ruler below a picture.
struct Ruler {
    std::vector<RulerTick> ticks;
    sonrel::WaveformPreview::Color color{};       ///< of marks and labels
    sonrel::WaveformPreview::Color background{};  ///< behind them
};

/// An image with a ruler below it. The pixels of the image stay as they are.
/// @return a null image when there is not enough memory
QImage AddRuler(const QImage& image, const Ruler& ruler);

/// An SVG document of an image, with a ruler of real text below it where one is given.
/// @param png    the image as a PNG file, @p width by @p height pixels
/// @param title  what is shown, in UTF-8
/// @param ruler  may be null
std::string SvgDocument(const std::string& png, int width, int height, const std::string& title,
                        const Ruler* ruler);

}  // namespace orlo::host
