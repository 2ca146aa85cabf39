// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/align/Alignment.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// Says which recording of a pair is too short to judge.
std::string TooShortClause(const RecordingPair& pair);

/// An answer as the object that programs read.
Json AlignmentJson(const RecordingPair& pair, const AlignmentAnswer& answer);

/// The same as lines for people.
/// @param grid  of A, for timecode
std::string AlignmentText(const RecordingPair& pair, const AlignmentAnswer& answer,
                          const FrameGrid& grid);

/// Both waveforms at the measured offset, the seconds that were searched for and the places that
/// were measured, as an SVG document.
std::string AlignmentPlot(const RecordingPair& pair, const AlignmentAnswer& answer);

/// A recording of a timeline and where it begins, in sample frames on the first one's clock.
struct SyncedRecording {
    const Recording* recording = nullptr;
    long long start = 0;
};

/// A timeline document with one track a recording, all in sync.
/// @param fps  frames a second of the timeline
std::string SyncedTimeline(const std::vector<SyncedRecording>& recordings, int rate, double fps);

}  // namespace orlo::host
