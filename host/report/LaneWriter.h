// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/report/ReportPage.h"

namespace orlo::host {

/// The name of a CSS length: "12.5%", of a part of a whole.
std::string Percent(double part, double whole);

/// The row of a lane.
/// @param duration  of the page, seconds
std::string LaneRow(const PageLane& lane, double duration);

}  // namespace orlo::host
