// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/align/Alignment.h"
#include "host/shell/Outcome.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// A clause that names the recording of a pair that is too short to judge.
std::string TooShortClause(const RecordingPair& pair);

/// The result as a JSON object for programs.
Json AlignmentJson(const RecordingPair& pair, const AlignmentResult& result);

/// The result as text for people.
/// @param grid  grid of A, for timecodes
std::string AlignmentText(const RecordingPair& pair, const AlignmentResult& result,
                          const FrameGrid& grid);

/// An SVG document with both waveforms at the measured offset, the seconds that were searched for,
/// the measured places with their offsets, and the difference. Reads both recordings.
/// @throws CommandError when the program is asked to stop
std::string AlignmentPlot(const RecordingPair& pair, const AlignmentResult& result);

/// A recording of a timeline and its start, in sample frames on the clock of the first recording.
struct SyncedRecording {
    const Recording* recording = nullptr;
    long long start = 0;
};

/// A timeline document with one track per recording, all in sync.
/// @param fps  frame rate of the timeline
std::string SyncedTimeline(const std::vector<SyncedRecording>& recordings, int rate, double fps);

}  // namespace orlo::host
