// SPDX-License-Identifier: MIT
#include "host/align/SvgElements.h"

#include "host/shell/Markup.h"
#include "host/shell/Text.h"

namespace orlo::host {

std::string SvgAttribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + FormatNumber(value, 2) + "\"";
}

std::string SvgClass(const char* name) {
    return std::string(" class=\"") + name + "\"";
}

std::string SvgFill(const char* color) {
    return std::string(" fill=\"") + color + "\"";
}

std::string SvgRectangle(const char* name, const SvgBox& box, const std::string& more) {
    return "<rect" + SvgClass(name) + SvgAttribute("x", box.x) + SvgAttribute("y", box.y) +
           SvgAttribute("width", box.width) + SvgAttribute("height", box.height) + more + "/>\n";
}

std::string SvgLine(const char* name, const SvgEnds& ends, const char* color) {
    return "<line" + SvgClass(name) + SvgAttribute("x1", ends.x1) + SvgAttribute("y1", ends.y1) +
           SvgAttribute("x2", ends.x2) + SvgAttribute("y2", ends.y2) + " stroke=\"" + color +
           "\"/>\n";
}

std::string SvgText(double x, double baseline, const std::string& text) {
    return "<text" + SvgAttribute("x", x) + SvgAttribute("y", baseline) + ">" + XmlText(text) +
           "</text>\n";
}

std::string SvgPoint(double x, double y) {
    return FormatNumber(x, 1) + "," + FormatNumber(y, 1) + " ";
}

std::string SvgShape(const char* name, const char* color, const std::string& upper,
                     const std::vector<std::string>& lower) {
    std::string points = upper;
    for (auto point = lower.rbegin(); point != lower.rend(); ++point) points += *point;
    return "<polygon" + SvgClass(name) + SvgFill(color) + " points=\"" + points + "\"/>\n";
}

}  // namespace orlo::host
