// SPDX-License-Identifier: MIT
#include "host/timeline/Positions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "host/shell/Timecode.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

constexpr long long NO_SAMPLE = std::numeric_limits<long long>::min();

bool TakeSuffix(std::string_view& text, std::string_view suffix) {
    if (!text.ends_with(suffix)) return false;
    text.remove_suffix(suffix.size());
    return true;
}

/// @return the frame of the timeline; nullopt when the text is not a timecode at the frame rate
std::optional<double> ParseTimecode(std::string_view text, const FrameGrid& grid,
                                    const std::string& option) {
    if (IsDropFrameText(text) && !HasDropFrame(grid.fps)) {
        throw UsageError(option + " " + Quoted(text) + " is a drop-frame timecode, which " +
                         FormatNumber(grid.fps, 6) +
                         " frames a second do not have; write ':' before the frames");
    }
    const std::optional<double> frame = FrameOfTimecode(text, grid.fps);
    if (!frame) return std::nullopt;
    const double fromStart = *frame - static_cast<double>(grid.startFrame);
    if (fromStart >= 0.0) return fromStart;
    throw UsageError(option + " " + Quoted(text) +
                     " is before the start of the timeline, which is at " +
                     FormatTimecode(0, grid));
}

long long SampleOf(double frame, const FrameGrid& grid) {
    return zrtl::FrameToSample(frame * grid.factor, grid.rate, grid.EngineRate());
}

std::optional<long long> ToSamples(std::string_view text, const FrameGrid& grid,
                                   const std::string& option) {
    if (text.find_first_of(":;") != std::string_view::npos) {
        const std::optional<double> frames = ParseTimecode(text, grid, option);
        if (!frames) return std::nullopt;
        return SampleOf(*frames, grid);
    }
    if (TakeSuffix(text, "smp")) {
        const std::optional<long long> samples = ParseInteger(text);
        if (!samples || *samples < 0) return std::nullopt;
        return samples;
    }
    if (TakeSuffix(text, "f")) {
        const std::optional<double> frames = ParseDecimal(text);
        if (!frames) return std::nullopt;
        return SampleOf(*frames, grid);
    }
    TakeSuffix(text, "s");
    const std::optional<double> seconds = ParseDecimal(text);
    if (!seconds) return std::nullopt;
    return zrtl::TruncToInt64(zrtl::RoundHalfAway(*seconds * grid.rate));
}

}  // namespace

long long FrameGrid::Start(long long frame) const {
    return SampleOf(static_cast<double>(frame), *this);
}

long long FrameGrid::FrameOf(long long sample) const {
    long long frame = std::max<long long>(
        0, zrtl::TruncToInt64(std::floor(static_cast<double>(sample) / (rate / fps))));
    while (frame > 0 && Start(frame) > sample) --frame;
    while (Start(frame + 1) <= sample) ++frame;
    return frame;
}

long long ParsePosition(std::string_view text, const FrameGrid& grid, const std::string& option) {
    const std::optional<long long> samples = ToSamples(text, grid, option);
    if (!samples) {
        throw UsageError(option + " " + Quoted(text) +
                         " is not a position: use seconds (12.5 or 12.5s), frames (300f), samples "
                         "(480000smp) or timecode (00:00:12:10) at " +
                         FormatNumber(grid.fps, 6) + " frames a second");
    }
    if (*samples == NO_SAMPLE) {
        throw UsageError(option + " " + Quoted(text) + " is beyond the end of any timeline");
    }
    return *samples;
}

std::string FormatTimecode(long long sample, const FrameGrid& grid) {
    return TimecodeOfFrame(grid.startFrame + grid.FrameOf(sample), grid.fps, grid.dropFrame);
}

zrtl::FrameRange ParseSpan(const std::string& from, const std::string& to, const FrameGrid& grid,
                           long long total) {
    zrtl::FrameRange span;
    span.start = from.empty() ? 0 : ParsePosition(from, grid, "--from");
    span.end = to.empty() ? total : ParsePosition(to, grid, "--to");
    if (span.start >= total) {
        throw UsageError("--from " + Quoted(from) + " is at or beyond the end, which is at " +
                         std::to_string(total) + "smp (" + FormatTimecode(total, grid) + ")");
    }
    if (span.start >= span.end) {
        throw UsageError("the range is empty: --from " + Quoted(from.empty() ? "0" : from) +
                         ", --to " + Quoted(to) + "; --to is exclusive and must be after --from");
    }
    span.end = std::min<long long>(span.end, total);
    return span;
}

}  // namespace orlo::host
