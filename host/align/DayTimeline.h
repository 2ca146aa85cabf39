// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orlo::host {

struct SyncedRecording;

/// A timeline document of a shooting day: picture tracks, then sound tracks, all in sync.
///
/// The recordings of one folder that do not overlap share a track with the name of the folder. The
/// folder of the first recording comes first. Sound begins on its sample frame, picture on the
/// nearest frame of the timeline.
/// @param fps  frame rate of the timeline
std::string DayTimeline(const std::vector<SyncedRecording>& recordings, int rate, double fps);

}  // namespace orlo::host
