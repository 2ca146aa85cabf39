// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/align/PlotLayout.h"

namespace orlo::host {

constexpr int OFFSET_DIAGRAM_HEIGHT = 96;

/// The offset of each place of a plot, compared with that of the whole, and the line of the drift.
/// Places that differ more than the scale are at its edge.
/// @param top  first row of the diagram
std::string OffsetDiagram(const PlottedAlignment& plot, const PlotTimes& times, int top);

}  // namespace orlo::host
