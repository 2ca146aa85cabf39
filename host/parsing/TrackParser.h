// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/AudioFrom.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

namespace orlo::host::otio {

/// Parses a track that sounds, with its items.
/// @param rule  of the stack that contains the track
Track ParseTrack(const Json& object, const SourceLocation& place, const SoundRule& rule,
                 ImportReport& report);

/// Parses a child of a stack that is not a track. It becomes a separate track.
Track TrackOfItem(const Json& object, const SourceLocation& place, const SoundRule& rule,
                  ImportReport& report);

/// Reports a track that does not sound.
void NoteSilentTrack(const Json& track, const SourceLocation& place, ImportReport& report);

}  // namespace orlo::host::otio
