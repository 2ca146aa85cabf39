// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/align/RecordingPair.h"
#include "host/shell/Outcome.h"

/// The parts of a timeline document of recordings in sync.
namespace orlo::host {

/// A number, without a fraction where it is whole.
Json NumberJson(double value);

/// A clip of the whole sound of a recording. @param rate  unit of its times, hertz
Json SoundClip(const Recording& recording, int rate);

/// A clip of the whole picture of a recording, in its own frames.
Json PictureClip(const Recording& recording);

/// @param kind  "Audio" or "Video"
Json EmptyTrack(const std::string& name, const char* kind);

/// Appends silence or black to a track. Appends nothing for a duration of 0.
void AppendGap(Json& track, double duration, double rate);

/// The text of a timeline.
/// @param tracks  an array
/// @param fps     frame rate of the timeline
std::string TimelineDocument(const std::string& name, Json tracks, int rate, double fps);

}  // namespace orlo::host
