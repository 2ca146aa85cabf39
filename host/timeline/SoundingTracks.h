// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/arrangement/TimelineImport.h"

namespace orlo::host {

/// The value of --audio-from that means the tracks of this kind.
/// @param kind  Audio or Video
const char* AudioFromName(otio::Track::Kind kind);

/// Refuses a timeline without length. The message has its tracks, and the option that takes the
/// sound of the others.
/// @param verb  what cannot be done: "mix"
/// @throws JobError
[[noreturn]] void RefuseEmptyTimeline(const std::string& input, const otio::TimelineImport& import,
                                      const std::string& verb);

}  // namespace orlo::host
