// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "sonrel/base/FrameRange.h"

namespace orlo::host {

/// The video frames of a timeline in samples. Frame f covers the samples from Start(f) (included)
/// to Start(f + 1) (excluded); frame lengths may differ by a sample.
struct FrameGrid {
    int rate = 48000;   ///< hertz
    double fps = 25.0;  ///< frames a second

    /// First sample of a frame: RoundHalfAway(frame * (rate / fps)).
    long long Start(long long frame) const;
    /// The frame that covers a sample.
    /// @param sample  0 or more
    long long FrameOf(long long sample) const;
};

/// Parses a position or length. The result is in samples, from the beginning of the timeline.
///
///     12.5  12.5s      seconds       RoundHalfAway(seconds * rate)
///     300f             frames        RoundHalfAway(frames * (rate / fps))
///     480000smp        samples
///     00:00:12:10      timecode, without dropped frames, at the nominal rate: the integer
///                      nearest to fps
///
/// @param option  name of the option, for the message
/// @throws UsageError when the text has another form or the position does not fit into 64 bits
long long ParsePosition(std::string_view text, const FrameGrid& grid, const std::string& option);

/// A sample position as timecode at the nominal frame rate, "00:00:12:10".
std::string FormatTimecode(long long sample, const FrameGrid& grid);

/// The range that --from and --to select of @p total samples.
/// @param from  empty means 0
/// @param to    empty, or beyond the end, means @p total
/// @throws UsageError when the range is empty
zrtl::FrameRange ParseSpan(const std::string& from, const std::string& to, const FrameGrid& grid,
                           long long total);

}  // namespace orlo::host
