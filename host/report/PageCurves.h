// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/measure/Loudness.h"
#include "host/measure/MeterSummary.h"
#include "host/report/ReportPage.h"

namespace orlo::host {

/// Maximum number of points of a curve, and of marks where the master clips.
constexpr int MAX_CURVE_POINTS = 6000;
constexpr int MAX_CLIP_MARKS = 1000;

/// The levels of a mix as curves. Neighbouring meter blocks share a point when there are too many;
/// the point has the highest of their levels.
/// @param blockSeconds  length of a meter block
PageCurves MasterCurves(const MeterBlocks& blocks, const std::vector<LoudnessReading>& readings,
                        double blockSeconds);

/// The stretches in which the master clips. Stretches that are close on the page share a mark when
/// there are too many.
/// @param from      position of the left edge, seconds
/// @param duration  of the page, seconds
std::vector<PageClipMark> ClipMarks(const SignalSummary& master, const FrameGrid& grid, double from,
                                    double duration);

}  // namespace orlo::host
