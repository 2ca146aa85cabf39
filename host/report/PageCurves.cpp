// SPDX-License-Identifier: MIT
#include "host/report/PageCurves.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace orlo::host {

namespace {

using Level = std::optional<double>;

Level Decibels(float value) {
    return value > 0.0f ? Level(20.0 * std::log10(static_cast<double>(value))) : std::nullopt;
}

Level Higher(const Level& one, const Level& other) {
    if (!one) return other;
    return other ? Level(std::max(*one, *other)) : one;
}

std::string MarkText(const zrtl::FrameRange& span, const char* channels, int count,
                     const FrameGrid& grid) {
    const std::string range =
        FormatTimecode(span.start, grid) + " to " + FormatTimecode(span.end, grid);
    return count == 1 ? "clips from " + range + ", " + channels
                      : "clips at " + std::to_string(count) + " places from " + range;
}

}  // namespace

PageCurves MasterCurves(const MeterBlocks& blocks, const std::vector<LoudnessReading>& readings,
                        double blockSeconds) {
    const unsigned long long share = (blocks.count + MAX_CURVE_POINTS - 1) / MAX_CURVE_POINTS;
    PageCurves curves;
    curves.step = blockSeconds * static_cast<double>(std::max(share, 1ULL));
    for (unsigned long long first = 0; first < blocks.count; first += share) {
        Level peak;
        Level shortTerm;
        for (auto i = first; i < std::min(first + share, blocks.count); ++i) {
            const sonrel::AudioTrackMetrics master = blocks.at(i).masterMetrics;
            peak = Higher(peak, Decibels(std::max(master.peak[0], master.peak[1])));
            if (i < readings.size()) shortTerm = Higher(shortTerm, readings[i].shortTerm);
        }
        curves.peaks.push_back(peak);
        curves.shortTerm.push_back(shortTerm);
    }
    return curves;
}

std::vector<PageClipMark> ClipMarks(const SignalSummary& master, const FrameGrid& grid, double from,
                                    double duration) {
    const double apart = master.clips.size() > MAX_CLIP_MARKS ? duration / MAX_CLIP_MARKS : 0.0;
    const auto seconds = [&](long long sample) {
        return static_cast<double>(sample) / grid.rate - from;
    };
    std::vector<PageClipMark> marks;
    zrtl::FrameRange span;
    int count = 0;
    for (const ClipRange& range : master.clips) {
        const bool joins = count > 0 && seconds(range.span.start) - marks.back().start < apart;
        if (!joins) {
            marks.push_back({seconds(range.span.start), 0.0, {}});
            span.start = range.span.start;
            count = 0;
        }
        span.end = range.span.end;
        marks.back().end = seconds(span.end);
        marks.back().text = MarkText(span, ClippedChannels(range), ++count, grid);
    }
    return marks;
}

}  // namespace orlo::host
