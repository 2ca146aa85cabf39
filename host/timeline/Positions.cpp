// SPDX-License-Identifier: MIT
#include "host/timeline/Positions.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

constexpr long long NO_SAMPLE = std::numeric_limits<long long>::min();

bool TakeSuffix(std::string_view& text, std::string_view suffix) {
    if (!text.ends_with(suffix)) return false;
    text.remove_suffix(suffix.size());
    return true;
}

long long NominalRate(double fps) {
    return std::max<long long>(1, zrtl::TruncToInt64(zrtl::RoundHalfAway(fps)));
}

std::vector<std::string_view> SplitAtColons(std::string_view text) {
    std::vector<std::string_view> fields;
    while (true) {
        const std::size_t colon = text.find(':');
        fields.push_back(text.substr(0, colon));
        if (colon == std::string_view::npos) return fields;
        text.remove_prefix(colon + 1);
    }
}

/// Frames of a timecode; nullopt when the text is not a timecode at this frame rate.
std::optional<double> ParseTimecode(std::string_view text, double fps) {
    const std::vector<std::string_view> fields = SplitAtColons(text);
    if (fields.size() != 4) return std::nullopt;
    double values[4];
    for (int i = 0; i < 4; ++i) {
        if (fields[i].find('.') != std::string_view::npos) return std::nullopt;
        const std::optional<double> value = ParseDecimal(fields[i]);
        if (!value) return std::nullopt;
        values[i] = *value;
    }
    const auto nominal = static_cast<double>(NominalRate(fps));
    if (values[1] >= 60.0 || values[2] >= 60.0 || values[3] >= nominal) return std::nullopt;
    return ((values[0] * 60.0 + values[1]) * 60.0 + values[2]) * nominal + values[3];
}

long long SampleOf(double frame, const FrameGrid& grid) {
    return zrtl::FrameToSample(frame * grid.factor, grid.rate, grid.EngineRate());
}

std::optional<long long> ToSamples(std::string_view text, const FrameGrid& grid) {
    if (text.find(':') != std::string_view::npos) {
        const std::optional<double> frames = ParseTimecode(text, grid.fps);
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
    const std::optional<long long> samples = ToSamples(text, grid);
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
    const long long nominal = NominalRate(grid.fps);
    const long long frame = grid.FrameOf(sample);
    const long long seconds = frame / nominal;
    char text[80];
    std::snprintf(text, sizeof(text), "%02lld:%02lld:%02lld:%02lld", seconds / 3600,
                  seconds / 60 % 60, seconds % 60, frame % nominal);
    return text;
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
