// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformRuler.h"

#include <QByteArray>
#include <cstdio>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using Color = sonrel::WaveformPreview::Color;

constexpr int TEXT_BASELINE = 17;

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
            svg += "<text x=\"" + FormatNumber(tick.x + RULER_LABEL_X, 3) + "\" y=\"" +
                   std::to_string(top + TEXT_BASELINE) + "\">" + tick.label + "</text>";
        }
        svg += "\n";
    }
    return svg + "  </g>\n";
}

}  // namespace

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
