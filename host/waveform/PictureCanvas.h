// SPDX-License-Identifier: MIT
#pragma once

#include "host/waveform/LabelFont.h"
#include "host/waveform/Picture.h"
#include "host/waveform/PictureColors.h"

namespace orlo::host {

/// Draws into a picture of any format. Parts outside the picture are not drawn. Colours replace the
/// pixels, with their alpha; a format without alpha ignores it.
class PictureCanvas {
public:
    explicit PictureCanvas(Picture& picture) : picture_(picture) {}

    void SetPixel(int x, int y, const PictureColors::Color& color);
    void Fill(int x, int y, int width, int height, const PictureColors::Color& color);
    /// Copies a picture of the same format, which fits completely.
    void Copy(const Picture& part, int left, int top);
    /// Draws a text on a background of one colour.
    /// @param x         start of the text
    /// @param baseline  row after the last row of a letter without a descender
    void DrawText(const TextMask& text, int x, int baseline, const PictureColors::Color& color,
                  const PictureColors::Color& background);

private:
    Picture& picture_;
};

}  // namespace orlo::host
