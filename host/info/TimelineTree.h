// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/arrangement/Arrangement.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// A number of frames of the engine in frames of the timeline, with fractions.
double TimelineFrames(double engineFrames, const FrameGrid& grid);

/// The same as JSON: an integer where the number is whole.
Json FramesJson(int engineFrames, const FrameGrid& grid);

/// The structure of a timeline as a list of tracks with their objects and transitions. The object
/// of a nested item contains the tracks of the item.
Json TracksJson(const std::vector<otio::PlacedTrack>& tracks, const FrameGrid& grid);

/// The same structure as lines of text, indented by their depth.
std::string TracksText(const std::vector<otio::PlacedTrack>& tracks, const FrameGrid& grid);

}  // namespace orlo::host
