// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Parses the media reference and the sound settings of a clip.
/// @param clip  the JSON object of the clip
/// @param item  receives the values; its place is already set
void ParseClip(const Json& clip, Item& item, ImportReport& report);

}  // namespace orlo::host::otio
