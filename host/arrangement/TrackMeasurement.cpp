// SPDX-License-Identifier: MIT
#include <cmath>
#include <limits>

#include "host/arrangement/TrackArranger.h"

namespace orlo::host::otio {

/// Records the offsets over clips. The other offsets are left out when the transition is placed.
void TrackArranger::MeasureTransition(const Pending& pending) {
    if (!pending.before.allowsTransition || !pending.after.allowsTransition) return;
    const Item& item = *pending.item;
    const auto add = [&](const Neighbour& neighbour, const RationalTime& offset, const char* what) {
        const double seconds = neighbour.clip ? OffsetSeconds(offset, what, item.place) : 0.0;
        if (seconds > 0.0) rules_.moments->Add(seconds, item.place);
    };
    add(pending.before, item.transition.inOffset, "in_offset");
    add(pending.after, item.transition.outOffset, "out_offset");
}

/// Records the edges and the in-point of a clip. An in-point that is out of range on every grid is
/// left out: its clip is not placed.
void TrackArranger::MeasureClip(const Item& item, Seconds kept, double cutSeconds, double speed) {
    rules_.moments->Add(kept.begin, item.place);
    rules_.moments->Add(kept.end, item.place);
    const double inPoint = InPointSeconds(item, cutSeconds, speed);
    const double frames = std::abs(inPoint * rules_.fps / speed);
    if (frames <= std::numeric_limits<int>::max()) rules_.moments->Add(inPoint, item.place, speed);
}

}  // namespace orlo::host::otio
