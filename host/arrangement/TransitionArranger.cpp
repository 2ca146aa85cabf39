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

/// The frames of a transition on the clips of its join. An offset without a clip is 0.
struct Coverage {
    bool hasFrom = false;
    bool hasTo = false;
    double in = 0.0;
    double out = 0.0;

    double Length() const { return in + out; }
};

Coverage CoverageOf(const Join& join, const TransitionLimits& limits, const PlacedTrack& track,
                    ImportReport& report) {
    const SourceLocation& place = join.item->place;
    Coverage covered{Ends(track, join.before, join.frame), Begins(track, join.after, join.frame)};
    if (!covered.hasFrom && !covered.hasTo) return covered;
    covered.in = OffsetFrames(join.inSeconds, limits.frameRate, place, report);
    covered.out = OffsetFrames(join.outSeconds, limits.frameRate, place, report);
    if ((!covered.hasFrom && covered.in > 0.0) || (!covered.hasTo && covered.out > 0.0)) {
        report.Add(TRANSITION, place, "next to silence it fades on the frames of the clip only",
                   Severity::Note);
    }
    if (!covered.hasFrom) covered.in = 0.0;
    if (!covered.hasTo) covered.out = 0.0;
    return covered;
}

/// Why a transition is not placed; null when it is.
const char* ReasonToDrop(const Coverage& covered, int joinFrame, const TransitionLimits& limits) {
    if (!covered.hasFrom && !covered.hasTo) return "no clip begins or ends at it; it is left out";
    if (covered.Length() == 0.0) {
        return "it does not cover a frame of the adjacent clips; it becomes a cut";
    }
    if (!Fits(covered.Length(), joinFrame, limits)) {
        return "its length is out of range; it becomes a cut";
    }
    return nullptr;
}

}  // namespace

void PlaceTransition(const Join& join, const TransitionLimits& limits, PlacedTrack& track,
                     ImportReport& report) {
    const Item& item = *join.item;
    if (!join.before.allowsTransition || !join.after.allowsTransition) {
        report.Add(TRANSITION, item.place,
                   "an adjacent clip is disabled or cannot be rendered; it becomes a cut");
        return;
    }
    const Coverage covered = CoverageOf(join, limits, track, report);
    if (const char* reason = ReasonToDrop(covered, join.frame, limits)) {
        report.Add(TRANSITION, item.place, reason);
        return;
    }
    if (!item.transition.type.empty() && item.transition.type != "SMPTE_Dissolve") {
        report.Add(TRANSITION, item.place,
                   "its type " + Quoted(item.transition.type) + " is unknown; it is a cross-fade",
                   Severity::Note);
    }
    PlacedTransition placed;
    placed.name = item.name;
    placed.place = item.place;
    if (covered.hasFrom) placed.from = join.before.clip;
    if (covered.hasTo) placed.to = join.after.clip;
    placed.joinFrame = join.frame;
    placed.relativeStartFrame = -static_cast<int>(covered.in);
    placed.length = static_cast<int>(covered.Length());
    placed.curve = item.transition.curve;
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
