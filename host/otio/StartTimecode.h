// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Parses the timecode at which a timeline starts: its global_start_time, and whether a timecode in
/// the metadata of the timeline or of its stack is drop-frame. A global_start_time that is not a
/// time is reported and ignored.
/// @param object  a Timeline
void ParseStartTimecode(const Json& object, Timeline& timeline, ImportReport& report);

/// The frame number of the timecode at which a timeline starts; 0 without a usable
/// global_start_time. A time that is negative or beyond 24 hours is reported.
long long StartFrame(const Timeline& timeline, double fps, ImportReport& report);

}  // namespace orlo::host::otio
