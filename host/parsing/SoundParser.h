// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Parses the sound settings of a clip or a nested item: speed, level, mute, effects and fades.
/// @param object  the JSON object of the item
/// @param item    receives the values; its place is already set
void ParseSound(const Json& object, Item& item, ImportReport& report);

/// Parses the level, the pan and the mute in the effects of a track. Other effects are reported.
void ParseTrackEffects(const Json& object, Track& track, ImportReport& report);

/// Parses the offsets, the type and the curve of a transition.
/// @param transition  the JSON object of the transition
void ParseTransition(const Json& transition, Item& item, ImportReport& report);

/// Reports every enabled effect of an object whose effects are not imported.
void NoteEffects(const Json& object, const SourceLocation& place, ImportReport& report);

}  // namespace orlo::host::otio
