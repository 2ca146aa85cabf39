// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Whether an effect in the metadata "fcp_xml" is the speed of its clip.
bool IsFcpSpeed(const Json& metadata);

/// Multiplies the speed of a clip by that of FCP 7's Time Remap. The times of such a clip, and of
/// its other effects, count frames of the retimed clip: the in-point is converted to a time of the
/// media file, by the graph of the effect where it has one.
/// @param rate  frames a second of the clip, above 0
void ParseFcpSpeed(const Json& metadata, double rate, Item& item, ImportReport& report);

}  // namespace orlo::host::otio
