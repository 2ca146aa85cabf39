// SPDX-License-Identifier: MIT
#include "host/arrangement/TransitionArranger.h"

#include <limits>

#include "host/shell/Text.h"
#include "sonrel/base/Timing.h"

namespace orlo::host::otio {

namespace {

constexpr const char* TRANSITION = "transition";

/// An offset in frames. A negative offset counts as 0 and is reported.
double OffsetFrames(double seconds, double frameRate, const SourceLocation& place,
                    ImportReport& report) {
    if (seconds < 0.0) {
        report.Add(TRANSITION, place, "a negative offset counts as 0");
        return 0.0;
    }
    return zrtl::RoundHalfAway(seconds * frameRate);
}

/// Whether the length in frames, milliseconds and samples fits into 32 bits. Plugins receive it in
/// milliseconds and in samples.
bool Fits(double frames, int joinFrame, const TransitionLimits& limits) {
    constexpr double LIMIT = std::numeric_limits<int>::max();
    return joinFrame + frames <= LIMIT && frames * (1000.0 / limits.frameRate) <= LIMIT &&
           frames * (limits.rate / limits.frameRate) <= LIMIT;
}

/// Whether an offset is longer than a clip by a frame or more. Less may come from rounded edges.
bool IsLonger(double seconds, const TransitionLimits& limits, const PlacedTrack& track,
              const Neighbour& neighbour) {
    constexpr double ROUNDING = 1e-6;
    const PlacedClip& clip = track.clips[*neighbour.clip];
    const double length = static_cast<double>(clip.endFrame) - clip.startFrame;
    return seconds * limits.frameRate >= length + 1.0 - ROUNDING;
}

/// The engine plays a transition only on the frames of its two clips.
void NoteExcess(const Join& join, const PlacedTransition& placed, const TransitionLimits& limits,
                const PlacedTrack& track, ImportReport& report) {
    if (placed.from && IsLonger(join.inSeconds, limits, track, join.before)) {
        report.Add(TRANSITION, placed.place,
                   "it is longer than the clip before it: the fade starts in its middle, at the "
                   "beginning of that clip; shorten it or lengthen the clip");
    }
    if (placed.to && IsLonger(join.outSeconds, limits, track, join.after)) {
        report.Add(TRANSITION, placed.place,
                   "it is longer than the clip after it: the fade stops before it is complete, at "
                   "the end of that clip; shorten it or lengthen the clip");
    }
}

bool Ends(const PlacedTrack& track, const Neighbour& neighbour, int frame) {
    return neighbour.clip && track.clips[*neighbour.clip].endFrame == frame;
}

bool Begins(const PlacedTrack& track, const Neighbour& neighbour, int frame) {
    return neighbour.clip && track.clips[*neighbour.clip].startFrame == frame;
}

}  // namespace

void PlaceTransition(const Join& join, const TransitionLimits& limits, PlacedTrack& track,
                     ImportReport& report) {
    const SourceLocation& place = join.item->place;
    const TransitionSpan& span = join.item->transition;
    if (!join.before.allowsTransition || !join.after.allowsTransition) {
        report.Add(TRANSITION, place,
                   "an adjacent clip is disabled or cannot be rendered; it becomes a cut");
        return;
    }
    const bool hasFrom = Ends(track, join.before, join.frame);
    const bool hasTo = Begins(track, join.after, join.frame);
    if (!hasFrom && !hasTo) {
        report.Add(TRANSITION, place, "no clip begins or ends at it; it is left out");
        return;
    }
    double in = OffsetFrames(join.inSeconds, limits.frameRate, place, report);
    double out = OffsetFrames(join.outSeconds, limits.frameRate, place, report);
    if ((!hasFrom && in > 0.0) || (!hasTo && out > 0.0)) {
        report.Add(TRANSITION, place, "next to silence it fades on the frames of the clip only",
                   Severity::Note);
    }
    if (!hasFrom) in = 0.0;
    if (!hasTo) out = 0.0;
    if (in + out == 0.0) {
        report.Add(TRANSITION, place,
                   "it does not cover a frame of the adjacent clips; it becomes a cut");
        return;
    }
    if (!Fits(in + out, join.frame, limits)) {
        report.Add(TRANSITION, place, "its length is out of range; it becomes a cut");
        return;
    }
    if (!span.type.empty() && span.type != "SMPTE_Dissolve") {
        report.Add(TRANSITION, place,
                   "its type " + Quoted(span.type) + " is unknown; it is a cross-fade",
                   Severity::Note);
    }
    PlacedTransition placed;
    placed.name = join.item->name;
    placed.place = place;
    if (hasFrom) placed.from = join.before.clip;
    if (hasTo) placed.to = join.after.clip;
    placed.joinFrame = join.frame;
    placed.relativeStartFrame = -static_cast<int>(in);
    placed.length = static_cast<int>(in + out);
    placed.curve = span.curve;
    NoteExcess(join, placed, limits, track, report);
    track.transitions.push_back(std::move(placed));
}

void NoteOverlaps(const PlacedTrack& track, ImportReport& report) {
    const PlacedTransition* last = nullptr;
    for (const PlacedTransition& transition : track.transitions) {
        const bool shareAClip = last != nullptr && last->to && last->to == transition.from;
        if (shareAClip && last->joinFrame + last->relativeStartFrame + last->length >
                              transition.joinFrame + transition.relativeStartFrame) {
            report.Add(TRANSITION, transition.place,
                       "it begins before the previous transition has ended, which continues "
                       "to its end first");
        }
        last = &transition;
    }
}

}  // namespace orlo::host::otio
