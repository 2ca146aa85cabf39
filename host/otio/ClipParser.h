// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Takes over what a clip says about its medium, its speed and its level.
/// @param clip  the clip's object
/// @param item  receives it; its place is set already
void ParseClip(const nlohmann::json& clip, Item& item, ImportReport& report);

/// Notes every effect of an object whose effects are not taken over.
void NoteEffects(const nlohmann::json& object, const Place& place, ImportReport& report);

}  // namespace orlo::host::otio
