// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/otio/Arrangement.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// The structure of a timeline as a list of tracks with their objects and transitions. The object
/// of a nested item contains the tracks of the item.
Json TracksJson(const std::vector<otio::PlacedTrack>& tracks);

/// The same structure as lines of text, indented by their depth.
std::string TracksText(const std::vector<otio::PlacedTrack>& tracks);

}  // namespace orlo::host
