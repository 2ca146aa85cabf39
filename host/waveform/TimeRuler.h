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

/// Pixels that a character of a label takes, the gap behind it included.
constexpr int RULER_CHARACTER_WIDTH = 7;

/// The marks of a ruler under a picture: labels at round times, 1, 2 or 5 times a power of ten
/// below a minute's parts and 10, 15 or 30 of them above, as close as they can stand side by side,
/// and up to four marks between two labels. No label reaches beyond the picture.
/// @param startSeconds  time at the left edge, 0 or more
/// @param endSeconds    time at the right edge, later than the start
/// @param width         pixels
std::vector<RulerTick> RulerTicks(double startSeconds, double endSeconds, int width);

/// A time as a label: "0:05", "1:00:00"; with a step below a second with as many decimals as the
/// step needs, "0:05.25".
std::string RulerLabel(double seconds, double step);

}  // namespace orlo::host
