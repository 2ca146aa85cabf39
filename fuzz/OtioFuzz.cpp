// SPDX-License-Identifier: MIT
// Feeds arbitrary bytes to the timeline reader. What it takes must be a timeline that the model
// takes as well: clips in order, without overlap, with finite speeds and in-points of 0 or more,
// and transitions on clips that meet.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/otio/JsonDocument.h"
#include "host/otio/TimelineImport.h"

namespace {

namespace otio = orlo::host::otio;

void Require(bool condition) {
    if (!condition) std::abort();
}

void CheckTransition(const otio::PlacedTransition& transition, const otio::PlacedTrack& track) {
    Require(transition.from || transition.to);
    Require(transition.length > 0 && transition.relativeStartFrame <= 0);
    Require(transition.length >= -transition.relativeStartFrame);
    if (transition.from) {
        Require(track.clips.at(*transition.from).endFrame == transition.joinFrame);
    }
    if (transition.to) {
        Require(track.clips.at(*transition.to).startFrame == transition.joinFrame);
    }
}

void CheckTrack(const otio::PlacedTrack& track) {
    int end = 0;
    for (const otio::PlacedClip& clip : track.clips) {
        Require(clip.startFrame >= end && clip.endFrame > clip.startFrame);
        Require(clip.sourceStartFrame >= 0 && clip.stream >= 0);
        Require(clip.speed >= 0.01 && clip.speed <= 100.0);
        Require(clip.fades.inFrames >= 0.0 && clip.fades.outFrames >= 0.0);
        for (const otio::LevelCurve::Key& key : clip.level.keys)
            Require(std::isfinite(key.decibels));
        end = clip.endFrame;
        if (clip.composition == nullptr) continue;
        Require(clip.composition->frameCount >= 0);
        for (const otio::PlacedTrack& inner : clip.composition->tracks) CheckTrack(inner);
    }
    for (const otio::PlacedTransition& transition : track.transitions) {
        CheckTransition(transition, track);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const otio::TimelineImport import = otio::ImportTimelineText(
            std::string(reinterpret_cast<const char*>(data), size), "/nowhere", {});
        Require(import.arrangement.frameCount >= 0);
        for (const otio::PlacedTrack& track : import.arrangement.tracks) CheckTrack(track);
        import.report.Entries();
    } catch (const otio::DocumentError&) {
    }
    return 0;
}
