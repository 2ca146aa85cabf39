// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/waveform/TimeRuler.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

/// Height in rows of a time ruler below a waveform.
constexpr int RULER_HEIGHT = 20;
/// Distance in pixels from a mark to its label.
constexpr int RULER_LABEL_X = 3;

/// Height in rows of a mark.
inline int MarkHeight(const RulerTick& tick) {
    return tick.label.empty() ? 3 : 6;
}

/// A time ruler below a picture.
struct Ruler {
    std::vector<RulerTick> ticks;
    sonrel::WaveformPreview::Color color{};       ///< colour of marks and labels
    sonrel::WaveformPreview::Color background{};  ///< colour of the background
};

/// An SVG document of an image, optionally with a ruler of real text below it.
/// @param png    the image as a PNG file, @p width by @p height pixels
/// @param title  title of the picture, in UTF-8
/// @param ruler  may be null
std::string SvgDocument(const std::string& png, int width, int height, const std::string& title,
                        const Ruler* ruler);

}  // namespace orlo::host
