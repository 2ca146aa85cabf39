// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Timecode numbers the frames of each second from 0 to the nominal rate minus 1; the nominal rate
/// is the integer nearest to the frame rate. Drop-frame timecode exists at 30000/1001, 60000/1001
/// and 120000/1001 frames a second: it leaves out the first 2, 4 or 8 numbers of each minute except
/// every tenth, so that it keeps up with the clock.
namespace orlo::host {

/// Whether drop-frame timecode exists at a frame rate.
bool HasDropFrame(double fps);

/// Whether a text has the form of drop-frame timecode, "01:00:00;00", whatever its numbers.
bool IsDropFrameText(std::string_view text);

/// The number of a frame from its timecode: "01:00:00:00", or drop-frame "01:00:00;00".
/// @return nullopt for another text, for seconds and frames that do not exist, and for drop-frame
///         timecode at a frame rate without it
std::optional<double> FrameOfTimecode(std::string_view text, double fps);

/// The timecode of a frame. Hours are not limited.
/// @param frame      0 or more
/// @param dropFrame  only where HasDropFrame(fps)
std::string TimecodeOfFrame(long long frame, double fps, bool dropFrame);

/// A time on a clock: "0:05", "1:02:03".
/// @param seconds  0 or more
std::string ClockText(long long seconds);

}  // namespace orlo::host
