// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orlo::host {

/// Width of a text in pixels.
using TextWidth = std::function<int(const std::string&)>;

/// A width that common fonts of 11 pixels do not exceed, for texts that a viewer draws: 7 pixels a
/// character.
int NominalWidth(const std::string& text);

/// A mark of a time ruler.
struct RulerTick {
    double x = 0.0;     ///< pixels from the left edge
    std::string label;  ///< empty for a mark between two labels
};

/// The timecode of a picture.
struct RulerClock {
    double fps = 0.0;  ///< frames per second; 0: the ruler counts seconds
    bool dropFrame = false;
    long long startFrame = 0;  ///< number of the frame at the start of the stream
};

/// Distance in pixels from a mark to its label.
constexpr int RULER_LABEL_X = 3;

/// The marks of a ruler below a picture with times. Labels are as close together as their width
/// allows. Their step is 1, 2 or 5 times a power of ten below a second; 1, 2, 5, 10, 15 or 30
/// seconds or minutes; or 1, 2 or 5 times a power of ten of hours. Up to four marks divide the
/// space between two labels. Labels do not overlap, and no label extends beyond the picture.
/// @param startSeconds  time at the left edge
/// @param endSeconds    time at the right edge, later than the start
/// @param width         pixels
std::vector<RulerTick> RulerTicks(double startSeconds, double endSeconds, int width,
                                  const TextWidth& widthOf);

/// The same with timecode as labels, from a start of 0 or more. Their step is a number of frames
/// that divides a second, or a step as above. A drop-frame number that does not exist is replaced
/// by the next number.
/// @param clock  1 frame a second or more
std::vector<RulerTick> TimecodeTicks(double startSeconds, double endSeconds, int width,
                                     const RulerClock& clock, const TextWidth& widthOf);

/// A time as a label: "0:05", "1:00:00", "-0:05"; with a step below a second with as many decimals
/// as the step needs, "0:05.25".
std::string RulerLabel(double seconds, double step);

}  // namespace orlo::host
