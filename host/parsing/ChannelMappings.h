// SPDX-License-Identifier: MIT
#pragma once

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/otio/Timeline.h"

/// The streams and channels that other programs store in clips.
namespace orlo::host::otio {

/// Parses the sound that a clip uses of its media file. Where several programs stored different
/// sounds, the first in the order of docs/channels.md is used and the others are reported.
/// @param clip  the JSON object of the clip
/// @param item  receives its sound, and the source track of an FCP 7 clip
void ParseChannelMappings(const Json& clip, Item& item, ImportReport& report);

/// Whether a track is one half of a stereo track, with FCP 7 metadata that says so.
bool IsExplodedTrack(const Json& track);

/// Gives the clips of FCP 7 projects their channels: a stereo clip that is exploded into two clips
/// on two tracks has its left channel on the left and its right channel on the right.
/// @param tracks  of a stack
void PairExplodedStereo(std::vector<Track>& tracks);

}  // namespace orlo::host::otio
