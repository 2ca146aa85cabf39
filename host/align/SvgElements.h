// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Elements of SVG documents, each on a line. Coordinates are pixels and have two decimals.
namespace orlo::host {

/// ' name="value"'.
std::string SvgAttribute(const char* name, double value);

/// ' class="name"'.
std::string SvgClass(const char* name);

/// ' fill="color"'.
std::string SvgFill(const char* color);

struct SvgBox {
    double x;
    double y;
    double width;
    double height;
};

/// @param more  further attributes, each after a space
std::string SvgRectangle(const char* name, const SvgBox& box, const std::string& more);

struct SvgEnds {
    double x1;
    double y1;
    double x2;
    double y2;
};

std::string SvgLine(const char* name, const SvgEnds& ends, const char* color);

/// A text that begins at @p x; characters of markup are escaped.
std::string SvgText(double x, double baseline, const std::string& text);

/// A point of a shape, with one decimal.
std::string SvgPoint(double x, double y);

/// A filled shape.
/// @param upper  the points of the upper edge, from left to right
/// @param lower  the points of the lower edge, from left to right
std::string SvgShape(const char* name, const char* color, const std::string& upper,
                     const std::vector<std::string>& lower);

}  // namespace orlo::host
