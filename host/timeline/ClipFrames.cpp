// SPDX-License-Identifier: MIT
#include "host/timeline/ClipFrames.h"

#include <algorithm>

namespace orlo::host {

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
            to.begin = std::min(to.begin, begin);
        }
        if (transition.from) {
            Stretch& from = frames.at(*transition.from);
            from.end = std::max(from.end, begin + transition.length);
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
