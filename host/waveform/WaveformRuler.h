// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <string>
#include <vector>

#include "host/waveform/TimeRuler.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

/// Height in rows of a time ruler below a waveform.
constexpr int RULER_HEIGHT = 20;

/// A time ruler below a picture.
struct Ruler {
    std::vector<RulerTick> ticks;
    sonrel::WaveformPreview::Color color{};       ///< colour of marks and labels
    sonrel::WaveformPreview::Color background{};  ///< colour of the background
};

/// Adds a ruler below an image. The pixels of the image are unchanged.
/// @return a null image when there is not enough memory
QImage AddRuler(const QImage& image, const Ruler& ruler);

/// An SVG document of an image, optionally with a ruler of real text below it.
/// @param png    the image as a PNG file, @p width by @p height pixels
/// @param title  title of the picture, in UTF-8
/// @param ruler  may be null
std::string SvgDocument(const std::string& png, int width, int height, const std::string& title,
                        const Ruler* ruler);

}  // namespace orlo::host
