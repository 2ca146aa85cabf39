// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "sonrel/base/FrameRange.h"

namespace orlo::host {

/// The video frames of a timeline in samples. Frame f covers the samples from Start(f) (included)
/// to Start(f + 1) (excluded); frame lengths may differ by a sample.
///
/// These are the frames that people count: in positions, timecodes and events. The engine divides
/// each into @p factor frames, so that cuts can be between the frames of the picture.
struct FrameGrid {
    int rate = 48000;          ///< hertz
    double fps = 25.0;         ///< frames a second
    int factor = 1;            ///< frames of the engine in a frame
    long long startFrame = 0;  ///< frame number of the timecode of frame 0
    bool dropFrame = false;    ///< timecodes are printed as drop-frame

    /// First sample of a frame: RoundHalfAway(factor * frame * (rate / EngineRate())).
    long long Start(long long frame) const;
    /// The frame that covers a sample.
    /// @param sample  0 or more
    long long FrameOf(long long sample) const;

    /// Frame rate of the engine.
    double EngineRate() const { return factor * fps; }
    /// The frames of the engine as a grid.
    FrameGrid Engine() const { return {rate, EngineRate()}; }
    /// The frame that contains a frame of the engine.
    int FrameOfEngine(int engineFrame) const { return engineFrame / factor; }
    /// The first frame of the engine in a frame.
    int FirstEngineFrame(int frame) const { return frame * factor; }
};

/// Parses a position or length. The result is in samples, from the beginning of the timeline.
///
///     12.5  12.5s      seconds       RoundHalfAway(seconds * rate)
///     300f             frames        FrameGrid::Start(frames), with fractions
///     480000smp        samples
///     01:00:12:10      timecode of the timeline, without dropped frames
///     01:00:12;10      drop-frame timecode of the timeline
///
/// Seconds, frames and samples count from the beginning of the timeline, timecodes from frame
/// number grid.startFrame.
/// @param option  name of the option, for the message
/// @throws UsageError when the text has another form, when the timecode is before the start, and
///         when the position does not fit into 64 bits
long long ParsePosition(std::string_view text, const FrameGrid& grid, const std::string& option);

/// The timecode of a sample position, "01:00:12:10", or "01:00:12;10" where it is drop-frame.
std::string FormatTimecode(long long sample, const FrameGrid& grid);

/// The range that --from and --to select of @p total samples.
/// @param from  empty means 0
/// @param to    empty, or beyond the end, means @p total
/// @throws UsageError when the range is empty
zrtl::FrameRange ParseSpan(const std::string& from, const std::string& to, const FrameGrid& grid,
                           long long total);

}  // namespace orlo::host
