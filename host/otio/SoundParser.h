// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Takes over what a clip or a nested item says about its sound: speed, level, mute, effects and
/// fades.
/// @param object  the item's object
/// @param item    receives it; its place is set already
void ParseSound(const nlohmann::json& object, Item& item, ImportReport& report);

/// Takes over how far a transition reaches, and its curve.
/// @param transition  the transition's object
void ParseTransition(const nlohmann::json& transition, Item& item, ImportReport& report);

/// Notes every effect of an object whose effects are not taken over.
void NoteEffects(const nlohmann::json& object, const Place& place, ImportReport& report);

}  // namespace orlo::host::otio
