// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/otio/Arrangement.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// The structure of a timeline as a list of tracks with their objects and transitions. An object
/// that shows a nested item holds the tracks of that one.
Json TracksJson(const std::vector<otio::PlacedTrack>& tracks);

/// The same as lines, indented by their depth.
std::string TracksText(const std::vector<otio::PlacedTrack>& tracks);

}  // namespace orlo::host
