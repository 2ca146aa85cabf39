// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orlo::host {

/// A mark of a time ruler.
struct RulerTick {
    double x = 0.0;     ///< pixels from the left edge
    std::string label;  ///< digits, colons and a point; empty for a mark between two labels
};

/// Width of a label character in pixels, including the gap after it.
constexpr int RULER_CHARACTER_WIDTH = 7;

/// The marks of a ruler below a picture. Labels are as close together as their width allows. Their
/// step is 1, 2 or 5 times a power of ten below a second; 1, 2, 5, 10, 15 or 30 seconds or minutes;
/// or 1, 2 or 5 times a power of ten of hours. Up to four marks divide the space between two
/// labels. No label extends beyond the picture.
/// @param startSeconds  time at the left edge, 0 or more
/// @param endSeconds    time at the right edge, later than the start
/// @param width         pixels
std::vector<RulerTick> RulerTicks(double startSeconds, double endSeconds, int width);

/// A time as a label: "0:05", "1:00:00"; with a step below a second with as many decimals as the
/// step needs, "0:05.25".
std::string RulerLabel(double seconds, double step);

}  // namespace orlo::host
