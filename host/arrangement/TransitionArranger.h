// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>

#include "host/arrangement/Arrangement.h"
#include "host/otio/ImportReport.h"

namespace orlo::host::otio {

/// An item before or after a transition.
struct Neighbour {
    std::optional<std::size_t> clip;  ///< index on the placed track; unset when it is not placed
    bool allowsTransition = true;
};

/// A transition that is to be placed.
struct Join {
    const Item* item = nullptr;
    double inSeconds = 0.0;
    double outSeconds = 0.0;
    int frame = 0;  ///< the edge between the items before and after it
    Neighbour before;
    Neighbour after;
};

/// The rates of the engine, which limit the length of a transition.
struct TransitionLimits {
    double frameRate = 25.0;
    int rate = 48000;
};

/// Places a transition on the clips before and after its join. A transition that is dropped or
/// shortened is reported.
void PlaceTransition(const Join& join, const TransitionLimits& limits, PlacedTrack& track,
                     ImportReport& report);

/// Reports each transition that begins before the previous transition on the same clip has ended.
void NoteOverlaps(const PlacedTrack& track, ImportReport& report);

}  // namespace orlo::host::otio
