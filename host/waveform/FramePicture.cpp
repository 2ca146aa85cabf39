// SPDX-License-Identifier: MIT
#include "host/waveform/FramePicture.h"

#include <QByteArray>
#include <cmath>
#include <cstdio>

#include "host/shell/Markup.h"
#include "host/shell/Text.h"
#include "host/waveform/PictureCanvas.h"

namespace orlo::host {

namespace {

using Color = PictureColors::Color;

/// The attributes of an element that is filled with a colour.
std::string Fill(const Color& color) {
    char text[64];
    std::snprintf(text, sizeof(text), " fill=\"#%02x%02x%02x\"", color.red, color.green,
                  color.blue);
    if (color.alpha == 255) return text;
    return std::string(text) + " fill-opacity=\"" + FormatNumber(color.alpha / 255.0, 4) + "\"";
}

std::string SizeOf(int width, int height) {
    return " width=\"" + std::to_string(width) + "\" height=\"" + std::to_string(height) + "\"";
}

std::string PlaceOf(double x, int y) {
    return " x=\"" + FormatNumber(x, 3) + "\" y=\"" + std::to_string(y) + "\"";
}

std::string Element(const FrameMark& mark) {
    return std::string("  <rect class=\"") + mark.kind + "\"" + PlaceOf(mark.x, mark.y) +
           " width=\"" + FormatNumber(mark.width, 3) + "\" height=\"" +
           std::to_string(mark.height) + "\"" + Fill(mark.color) + "/>\n";
}

std::string Element(const FrameLabel& label) {
    return std::string("  <text class=\"") + label.kind + "\"" + PlaceOf(label.x, label.baseline) +
           Fill(label.color) + ">" + XmlText(label.text) + "</text>\n";
}

/// The frame without its background where the waveform is, which has the same background.
std::string BackgroundElements(const Frame& frame) {
    const PictureArea& area = frame.waveform;
    const int below = frame.size.height - area.height;
    std::string svg;
    if (area.left > 0) {
        svg += "  <rect class=\"background\"" + PlaceOf(0, 0) + SizeOf(area.left, area.height) +
               Fill(frame.background) + "/>\n";
    }
    if (below > 0) {
        svg += "  <rect class=\"background\"" + PlaceOf(0, area.height) +
               SizeOf(frame.size.width, below) + Fill(frame.background) + "/>\n";
    }
    return svg;
}

}  // namespace

Picture PaintFrame(const Picture& waveform, const Frame& frame, LabelFont* font) {
    Picture whole = Picture::Make(frame.size.width, frame.size.height, waveform.format);
    if (whole.bytes == nullptr) return whole;
    PictureCanvas canvas(whole);
    canvas.Fill(0, 0, whole.width, whole.height, frame.background);
    canvas.Copy(waveform, frame.waveform.left, frame.waveform.top);
    for (const FrameMark& mark : frame.marks) {
        canvas.Fill(static_cast<int>(std::lround(mark.x)), mark.y,
                    static_cast<int>(std::lround(mark.width)), mark.height, mark.color);
    }
    if (font == nullptr) return whole;
    for (const FrameLabel& label : frame.labels) {
        canvas.DrawText(font->Draw(label.text), static_cast<int>(std::lround(label.x)),
                        label.baseline, label.color, frame.background);
    }
    return whole;
}

std::string SvgDocument(const std::string& png, const Frame& frame, const std::string& title) {
    const auto& [width, height] = frame.size;
    const PictureArea& area = frame.waveform;
    std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\"" +
        SizeOf(width, height) + " viewBox=\"0 0 " + std::to_string(width) + " " +
        std::to_string(height) + "\" font-family=\"sans-serif\" font-size=\"" +
        std::to_string(LABEL_PIXELS) + "\">\n  <title>" + XmlText(title) + "</title>\n  <image" +
        PlaceOf(area.left, area.top) + SizeOf(area.width, area.height) +
        " xlink:href=\"data:image/png;base64,";
    svg +=
        QByteArray::fromRawData(png.data(), static_cast<int>(png.size())).toBase64().toStdString();
    svg += "\"/>\n" + BackgroundElements(frame);
    for (const FrameMark& mark : frame.marks) svg += Element(mark);
    for (const FrameLabel& label : frame.labels) svg += Element(label);
    return svg + "</svg>\n";
}

}  // namespace orlo::host
