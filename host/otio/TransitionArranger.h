// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>

#include "host/otio/Arrangement.h"
#include "host/otio/ImportReport.h"

namespace orlo::host::otio {

/// An item beside a transition.
struct Neighbour {
    std::optional<std::size_t> clip;  ///< its index on the placed track, where it is placed there
    bool joins = true;                ///< false: it takes no transition
};

/// A transition on its way into frames.
struct Join {
    const Item* item = nullptr;
    double inSeconds = 0.0;
    double outSeconds = 0.0;
    int frame = 0;  ///< where the items beside it meet
    Neighbour before;
    Neighbour after;
};

/// What the engine can hand to a transition's plugin.
struct TransitionLimits {
    double fps = 25.0;
    int rate = 48000;
};

/// Puts a transition on the clips that meet in its join. Whatever keeps it from that, or takes a
/// part of it, is noted.
void PlaceTransition(const Join& join, const TransitionLimits& limits, PlacedTrack& track,
                     ImportReport& report);

/// Notes the transitions that begin on a clip before the one in front of them has ended.
void NoteOverlaps(const PlacedTrack& track, ImportReport& report);

}  // namespace orlo::host::otio
