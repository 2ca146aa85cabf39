// SPDX-License-Identifier: MIT
#include "host/waveform/painter/RulerPainter.h"

#include <QColor>
#include <QPainter>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace orlo::host {

namespace {

using Color = sonrel::WaveformPreview::Color;

constexpr int LABEL_Y = 8;  ///< distance from the top of the ruler

// A digit is drawn as seven bars, five pixels wide and nine high:
//
//      0        top
//     5 1
//      6        middle
//     4 2
//      3        bottom
constexpr unsigned DIGIT_BARS[10] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D, 0x7D, 0x07, 0x7F, 0x6F};

struct Bar {
    int x, y, width, height;
};

constexpr Bar BARS[7] = {{0, 0, 5, 1}, {4, 0, 1, 5}, {4, 4, 1, 5}, {0, 8, 5, 1},
                         {0, 4, 1, 5}, {0, 0, 1, 5}, {0, 4, 5, 1}};

/// Drawing text would need a display. The labels contain only digits, colons and points.
void DrawCharacter(QPainter& painter, char character, int x, int y, const QColor& color) {
    if (character == '.') painter.fillRect(x + 2, y + 8, 1, 1, color);
    if (character == ':') {
        painter.fillRect(x + 2, y + 2, 1, 1, color);
        painter.fillRect(x + 2, y + 6, 1, 1, color);
    }
    if (character < '0' || character > '9') return;
    const unsigned bars = DIGIT_BARS[character - '0'];
    for (int i = 0; i < 7; ++i) {
        if ((bars >> i & 1u) == 0) continue;
        painter.fillRect(x + BARS[i].x, y + BARS[i].y, BARS[i].width, BARS[i].height, color);
    }
}

QColor ToQColor(const Color& color) {
    return QColor(color.red, color.green, color.blue, color.alpha);
}

}  // namespace

void PaintRuler(const QImage& image, const Ruler& ruler, QImage& picture) {
    const int top = image.height();
    picture.fill(ToQColor(ruler.background));
    std::memcpy(picture.bits(), image.constBits(), static_cast<std::size_t>(image.sizeInBytes()));
    QPainter painter(&picture);
    // Without blending, crossing bars keep the opacity of one bar.
    if (picture.hasAlphaChannel()) painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QColor ink = ToQColor(ruler.color);
    painter.fillRect(0, top, image.width(), 1, ink);
    for (const RulerTick& tick : ruler.ticks) {
        const int x = static_cast<int>(std::lround(tick.x));
        painter.fillRect(x, top, 1, MarkHeight(tick), ink);
        int left = x + RULER_LABEL_X;
        for (const char character : tick.label) {
            DrawCharacter(painter, character, left, top + LABEL_Y, ink);
            left += RULER_CHARACTER_WIDTH;
        }
    }
}

}  // namespace orlo::host
