// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Takes over what a clip says about its medium and its sound.
/// @param clip  the clip's object
/// @param item  receives it; its place is set already
void ParseClip(const Json& clip, Item& item, ImportReport& report);

}  // namespace orlo::host::otio
