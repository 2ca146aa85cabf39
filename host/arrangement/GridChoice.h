// SPDX-License-Identifier: MIT
#pragma once

#include "host/arrangement/Arrangement.h"
#include "host/arrangement/GridMoments.h"

namespace orlo::host::otio {

/// The number of frames of the engine in a frame of the timeline.
struct GridChoice {
    int factor = 1;
    bool limited = false;  ///< the limit of the caller made the grid coarser
};

/// Chooses the grid: the requested factor, else the smallest factor with which nothing moves by
/// more than half a millisecond, up to 1000 frames of the engine a second, and never more than the
/// limit of the caller. Frames have at least a sample, and all frame numbers fit into 32 bits.
/// @throws RateError when the requested factor is too large
GridChoice ChooseGrid(const GridMoments& moments, double fps, int rate, const RateChoice& choice);

/// Reports the times that move by more than half a millisecond in one entry.
void ReportShifts(const GridMoments& moments, const GridChoice& grid, double engineRate,
                  ImportReport& report);

}  // namespace orlo::host::otio
