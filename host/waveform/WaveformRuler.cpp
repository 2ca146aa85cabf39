// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformRuler.h"

#include <QByteArray>
#include <QColor>
#include <QPainter>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using Color = sonrel::WaveformPreview::Color;

constexpr int LONG_MARK = 6;
constexpr int SHORT_MARK = 3;
constexpr int LABEL_X = 3;  ///< distance from a mark to its label
constexpr int LABEL_Y = 8;  ///< distance from the top of the ruler
constexpr int TEXT_BASELINE = 17;

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

int MarkHeight(const RulerTick& tick) {
    return tick.label.empty() ? SHORT_MARK : LONG_MARK;
}

std::string EscapeXml(const std::string& text) {
    std::string escaped;
    for (const char character : OneLine(text)) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

/// The attributes of an element that is filled with a colour.
std::string Fill(const Color& color) {
    char text[64];
    std::snprintf(text, sizeof(text), "fill=\"#%02x%02x%02x\" fill-opacity=\"%s\"", color.red,
                  color.green, color.blue, FormatNumber(color.alpha / 255.0, 4).c_str());
    return text;
}

std::string Rectangle(double x, int y, double width, int height) {
    return "<rect x=\"" + FormatNumber(x, 3) + "\" y=\"" + std::to_string(y) + "\" width=\"" +
           FormatNumber(width, 3) + "\" height=\"" + std::to_string(height) + "\"/>";
}

std::string SvgRuler(const Ruler& ruler, int width, int top) {
    std::string svg = "  <g " + Fill(ruler.background) + ">" +
                      Rectangle(0, top, width, RULER_HEIGHT) + "</g>\n  <g " + Fill(ruler.color) +
                      " font-family=\"sans-serif\" font-size=\"11\">\n    " +
                      Rectangle(0, top, width, 1) + "\n";
    for (const RulerTick& tick : ruler.ticks) {
        svg += "    " + Rectangle(tick.x, top, 1, MarkHeight(tick));
        if (!tick.label.empty()) {
            svg += "<text x=\"" + FormatNumber(tick.x + LABEL_X, 3) + "\" y=\"" +
                   std::to_string(top + TEXT_BASELINE) + "\">" + tick.label + "</text>";
        }
        svg += "\n";
    }
    return svg + "  </g>\n";
}

}  // namespace

QImage AddRuler(const QImage& image, const Ruler& ruler) {
    const int top = image.height();
    QImage picture(image.width(), top + RULER_HEIGHT, image.format());
    if (picture.isNull()) return picture;
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
        int left = x + LABEL_X;
        for (const char character : tick.label) {
            DrawCharacter(painter, character, left, top + LABEL_Y, ink);
            left += RULER_CHARACTER_WIDTH;
        }
    }
    return picture;
}

std::string SvgDocument(const std::string& png, int width, int height, const std::string& title,
                        const Ruler* ruler) {
    const std::string size =
        "width=\"" + std::to_string(width) + "\" height=\"" + std::to_string(height) + "\"";
    const std::string whole =
        std::to_string(width) + " " + std::to_string(height + (ruler ? RULER_HEIGHT : 0));
    std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" "
        "xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"" +
        std::to_string(width) + "\" height=\"" +
        std::to_string(height + (ruler ? RULER_HEIGHT : 0)) + "\" viewBox=\"0 0 " + whole +
        "\">\n  <title>" + EscapeXml(title) + "</title>\n  <image " + size +
        " xlink:href=\"data:image/png;base64,";
    svg +=
        QByteArray::fromRawData(png.data(), static_cast<int>(png.size())).toBase64().toStdString();
    svg += "\"/>\n";
    if (ruler) svg += SvgRuler(*ruler, width, height);
    return svg + "</svg>\n";
}

}  // namespace orlo::host
