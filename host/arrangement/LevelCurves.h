// SPDX-License-Identifier: MIT
#pragma once

#include "host/arrangement/Arrangement.h"
#include "host/otio/ImportReport.h"

namespace orlo::host::otio {

/// Converts a level: sorts its keys and converts their times to milliseconds.
/// @param fps         frame rate of keys that count frames
/// @param cutSeconds  time that a trim cut off the beginning of the owner
LevelCurve ToCurve(const Level& level, double fps, double cutSeconds, const SourceLocation& place,
                   ImportReport& report);

}  // namespace orlo::host::otio
