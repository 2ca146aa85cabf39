// SPDX-License-Identifier: MIT
#include <algorithm>

#include "host/arrangement/TrackArranger.h"

namespace orlo::host::otio {

namespace {

/// Reports fades that are longer than their clip by a frame or more. Less may come from rounded
/// edges.
void NoteLongFades(const PlacedClip& clip, ImportReport& report) {
    if (clip.muted) return;
    const double length = static_cast<double>(clip.endFrame) - clip.startFrame;
    if (clip.fades.inFrames >= length + 1.0) {
        report.Add("fade-in", clip.place,
                   "it is longer than its clip, which ends before the fade is complete; shorten it "
                   "or lengthen the clip");
    }
    if (clip.fades.outFrames >= length + 1.0) {
        report.Add("fade-out", clip.place,
                   "it is longer than its clip, which begins in the middle of the fade; shorten it "
                   "or lengthen the clip");
    }
}

}  // namespace

/// Sets the fades of a clip without the frames that are cut off, and reports what changes.
/// @param cutIn   frames cut off the beginning of the item
/// @param cutOut  frames cut off its end
void TrackArranger::SetFades(const Item& item, int cutIn, int cutOut, PlacedClip& clip) {
    Fades fades = item.fades;
    if ((fades.inFrames > 0.0 && cutIn > 0) || (fades.outFrames > 0.0 && cutOut > 0)) {
        report_.Add("fade", item.place, "it is shortened by the frames that are cut off");
    }
    const double scale = fades.rate > 0.0 ? rules_.EngineRate() / fades.rate : rules_.grid;
    fades.inFrames = std::max(0.0, fades.inFrames * scale - cutIn);
    fades.outFrames = std::max(0.0, fades.outFrames * scale - cutOut);
    fades.rate = 0.0;
    clip.fades = fades;
    NoteLongFades(clip, report_);
}

}  // namespace orlo::host::otio
