// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/otio/ImportReport.h"

namespace orlo::host::otio {

/// The times of a timeline that rounding to whole frames can move: the edges of clips, the offsets
/// of transitions and the in-points.
///
/// At a frame rate F an in-point of s seconds at speed v moves by
/// |RoundHalfAway(s * F / v) * v / F - s|. Edges and offsets have speed 1.
class GridMoments {
public:
    /// The times that move by more than half a millisecond.
    struct Shifts {
        int count = 0;
        double largest = 0.0;                   ///< seconds
        const SourceLocation* place = nullptr;  ///< of the first time with the largest shift
    };

    /// @param place  outlives this object
    void Add(double seconds, const SourceLocation& place, double speed = 1.0);
    /// Records a position that must fit into a frame number.
    void Reach(double seconds);

    /// The last position of the timeline in seconds, in-points included.
    double Last() const { return last_; }

    /// The shifts at a frame rate.
    Shifts ShiftsAt(double frameRate) const;

    /// The smallest factor from 1 to @p max with which nothing moves by more than half a
    /// millisecond at factor * fps frames a second. If there is none, the first of the factors with
    /// the smallest largest shift.
    int SmallestFactor(double fps, int max) const;

private:
    struct Moment {
        double seconds = 0.0;
        double speed = 1.0;
        const SourceLocation* place = nullptr;
    };

    std::vector<Moment> moments_;
    double last_ = 0.0;
};

}  // namespace orlo::host::otio
