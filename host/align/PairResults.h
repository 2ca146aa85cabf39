// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/align/AlignOptions.h"
#include "host/align/Recordings.h"
#include "host/media/EngineSession.h"
#include "host/output/OutputGuard.h"
#include "host/shell/Outcome.h"
#include "host/shell/Progress.h"

namespace orlo::host {

struct SyncedRecording;

/// Writes recordings in sync as a timeline document.
/// @param fps  frame rate of the timeline
using TimelineWriter = std::string (*)(const std::vector<SyncedRecording>& recordings, int rate,
                                       double fps);

/// Reserves the names of the plots and of the timeline, and protects the inputs and the cache.
/// @throws UsageError for a name that no output may have
void ClaimAlignOutputs(const GlobalOptions& global, const AlignOptions& options,
                       const std::vector<std::string>& inputs, OutputGuard& guard);

/// Recordings to align, and the outputs.
struct AlignmentJob {
    const AlignOptions& options;
    const Recordings& recordings;  ///< two or more, prepared
    double fps;                    ///< of the timecodes and of the timeline
    TimelineWriter timeline;
    OutputGuard& guard;
};

/// Aligns all recordings with the first one, and writes the plots and the timeline.
/// @throws JobError when an output cannot be written; CommandError when the program is asked to
///         stop
Outcome AlignWithFirst(const AlignmentJob& job, const EngineSession& session, Progress& progress);

}  // namespace orlo::host
