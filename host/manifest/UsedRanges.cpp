// SPDX-License-Identifier: MIT
#include "host/manifest/UsedRanges.h"

#include <algorithm>
#include <cmath>

namespace orlo::host {

namespace {

/// To the microsecond.
double RoundedSeconds(double seconds) {
    constexpr double MICROSECONDS = 1e6;
    return std::round(seconds * MICROSECONDS) / MICROSECONDS;
}

Json RangeJson(double from, double to) {
    return Json::Object({{"from", RoundedSeconds(from)}, {"to", RoundedSeconds(to)}});
}

/// Sorts ranges, and joins ranges that touch or overlap.
std::vector<Stretch> Joined(std::vector<Stretch> ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](const Stretch& a, const Stretch& b) { return a.begin < b.begin; });
    std::vector<Stretch> joined;
    for (const Stretch& range : ranges) {
        if (joined.empty() || range.begin > joined.back().end) {
            joined.push_back(range);
        } else {
            joined.back().end = std::max(joined.back().end, range.end);
        }
    }
    return joined;
}

}  // namespace

UsedRanges::UsedRanges(const std::vector<otio::PlacedTrack>& tracks, const FrameGrid& grid,
                       const zrtl::FrameRange& span)
    : engineRate_(grid.EngineRate()) {
    const double framesPerSample = engineRate_ / grid.rate;
    Add(tracks, {static_cast<double>(span.start) * framesPerSample,
                 static_cast<double>(span.end) * framesPerSample});
}

void UsedRanges::Add(const std::vector<otio::PlacedTrack>& tracks, const Stretch& window) {
    for (const otio::PlacedTrack& track : tracks) {
        const std::vector<Stretch> frames = SoundingFrames(track);
        for (std::size_t i = 0; i < track.clips.size(); ++i) {
            const Stretch played{std::max(frames[i].begin, window.begin),
                                 std::min(frames[i].end, window.end)};
            if (played.begin < played.end) Add(track.clips[i], played);
        }
    }
}

void UsedRanges::Add(const otio::PlacedClip& clip, const Stretch& played) {
    Stretch source = SourceFrames(clip, played);
    source.begin = std::max(source.begin, 0.0);
    if (clip.composition != nullptr) {
        source.end = std::min<double>(source.end, clip.composition->frameCount);
        Add(clip.composition->tracks, source);
    } else if (source.begin < source.end) {
        frames_[{clip.media.path, clip.sound}].push_back(source);
    }
}

Json UsedRanges::Of(const std::string& path, const zrh::media::SoundChoice& sound) const {
    Json list = Json::Array();
    const auto found = frames_.find({path, sound});
    if (found == frames_.end()) return list;
    for (const Stretch& range : Joined(found->second)) {
        list.Append(RangeJson(range.begin / engineRate_, range.end / engineRate_));
    }
    return list;
}

Json UsedRanges::OfSpan(const zrtl::FrameRange& span, int rate) {
    return Json::Array(
        {RangeJson(static_cast<double>(span.start) / rate, static_cast<double>(span.end) / rate)});
}

}  // namespace orlo::host
