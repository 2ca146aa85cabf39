// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <utility>

#include "host/arrangement/TimelineImport.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// A number of frames of the engine in frames of the timeline, as an integer where it is whole.
Json FramesJson(int engineFrames, const FrameGrid& grid);

/// The structure of a timeline as a list of all its tracks, in the order of the file, with their
/// objects and transitions. A track that does not sound has no objects. The object of a nested item
/// contains the tracks of the item that sound.
Json TracksJson(const otio::TimelineImport& import, const FrameGrid& grid);

/// The stream and the channels that clips take, by path and sound.
using TakenSounds = std::map<std::pair<std::string, zrh::media::SoundChoice>, std::string>;

/// The same structure as lines of text, indented by their depth.
/// @param taken  clips of other sounds have the sound of the document
std::string TracksText(const otio::TimelineImport& import, const FrameGrid& grid,
                       const TakenSounds& taken);

}  // namespace orlo::host
