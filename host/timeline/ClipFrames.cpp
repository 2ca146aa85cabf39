// SPDX-License-Identifier: MIT
#include "host/timeline/ClipFrames.h"

#include <algorithm>
#include <limits>

namespace orlo::host {

namespace {

constexpr double BEYOND = std::numeric_limits<double>::infinity();

/// The first frame on which a transition plays the clip that ends. Nothing plays before that clip.
double FirstFrame(const otio::PlacedTrack& track, const std::optional<std::size_t>& from) {
    return from ? track.clips.at(*from).startFrame : -BEYOND;
}

/// The end of the clip that begins, and of its transition.
double EndFrame(const otio::PlacedTrack& track, const std::optional<std::size_t>& to) {
    return to ? track.clips.at(*to).endFrame : BEYOND;
}

}  // namespace

std::vector<Stretch> SoundingFrames(const otio::PlacedTrack& track) {
    std::vector<Stretch> frames;
    for (const otio::PlacedClip& clip : track.clips) {
        frames.push_back({static_cast<double>(clip.startFrame) - clip.framesBeforeMedia,
                          static_cast<double>(clip.endFrame)});
    }
    for (const otio::PlacedTransition& transition : track.transitions) {
        const double begin = static_cast<double>(transition.joinFrame) +
                             static_cast<double>(transition.relativeStartFrame);
        if (transition.to) {
            Stretch& to = frames.at(*transition.to);
            to.begin = std::min(to.begin, std::max(begin, FirstFrame(track, transition.from)));
        }
        if (transition.from) {
            Stretch& from = frames.at(*transition.from);
            from.end = std::max(
                from.end, std::min(begin + transition.length, EndFrame(track, transition.to)));
        }
    }
    return frames;
}

double SourceFrame(const otio::PlacedClip& clip, double frame) {
    return (clip.sourceStartFrame + (frame - clip.startFrame)) * clip.speed;
}

Stretch SourceFrames(const otio::PlacedClip& clip, const Stretch& frames) {
    return {SourceFrame(clip, frames.begin), SourceFrame(clip, frames.end)};
}

}  // namespace orlo::host
