// SPDX-License-Identifier: MIT
#include "host/waveform/LanePicture.h"

#include "host/waveform/PictureCanvas.h"

namespace orlo::host {

namespace {

using Color = PictureColors::Color;
using Format = sonrel::WaveformPreview::Format;

Color Solid(const Color& color) {
    return {color.red, color.green, color.blue, 255};
}

/// The colours of a format without alpha are opaque.
PictureColors ColorsIn(Format format, PictureColors colors) {
    if (format != Format::RGB888) return colors;
    colors.background = Solid(colors.background);
    for (Color& color : colors.channels) color = Solid(color);
    return colors;
}

class LanePainter {
public:
    LanePainter(LaneMasks& masks, const PictureColors& colors, Picture& picture)
        : masks_(masks), colors_(colors), canvas_(picture) {}

    void PaintStacked() {
        for (int channel = 0; channel < masks_.channels; ++channel) {
            for (int row = 0; row < masks_.height; ++row) {
                PaintRow(channel, channel + 1, row, channel * masks_.height + row);
            }
        }
    }

    void PaintOverlaid() {
        for (int row = 0; row < masks_.height; ++row) PaintRow(0, masks_.channels, row, row);
    }

private:
    /// Paints a row of some channels over the background.
    void PaintRow(int firstChannel, int endChannel, int row, int y) {
        for (int x = 0; x < masks_.width; ++x) {
            Color color = colors_.background;
            bool isCovered = false;
            for (int channel = firstChannel; channel < endChannel; ++channel) {
                const int coverage = masks_.Row(channel, row)[x];
                if (coverage == 0) continue;
                color = Over(colors_.OfChannel(channel), coverage, color);
                isCovered = true;
            }
            if (isCovered) canvas_.SetPixel(x, y, color);
        }
    }

    LaneMasks& masks_;
    const PictureColors& colors_;
    PictureCanvas canvas_;
};

}  // namespace

Picture PaintLanes(LaneMasks& masks, bool stacked, const PictureColors& colors, Format format,
                   int height) {
    Picture picture =
        Picture::Make(masks.width, height,
                      format == Format::RGB888 ? Picture::Format::RGB888 : Picture::Format::ARGB32);
    if (picture.bytes == nullptr) return picture;
    const PictureColors used = ColorsIn(format, colors);
    PictureCanvas(picture).Fill(0, 0, masks.width, height, used.background);
    LanePainter painter(masks, used, picture);
    if (stacked) {
        painter.PaintStacked();
    } else {
        painter.PaintOverlaid();
    }
    return picture;
}

}  // namespace orlo::host
