// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Takes over what a clip or a nested item says about its sound: speed, level, mute, effects and
/// fades.
/// @param object  the item's object
/// @param item    receives it; its place is set already
void ParseSound(const Json& object, Item& item, ImportReport& report);

/// Takes over how far a transition reaches, and its curve.
/// @param transition  the transition's object
void ParseTransition(const Json& transition, Item& item, ImportReport& report);

/// Notes every effect of an object whose effects are not taken over.
void NoteEffects(const Json& object, const SourceLocation& place, ImportReport& report);

}  // namespace orlo::host::otio
