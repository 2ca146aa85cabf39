// SPDX-License-Identifier: MIT
#include "host/align/AlignCommand.h"

#include "host/align/AlignmentReport.h"
#include "host/align/PairResults.h"
#include "host/align/Recordings.h"
#include "host/timeline/Input.h"

namespace orlo::host {

namespace {

void CheckOptions(const GlobalOptions& global, const AlignOptions& options) {
    if (options.inputs.size() < 2) throw UsageError("align needs two recordings or more");
    if (global.noCacheDb) {
        throw UsageError("align needs the cache for its files; leave out --no-cache-db");
    }
}

}  // namespace

Outcome RunAlign(const GlobalOptions& global, const AlignOptions& options) {
    CheckOptions(global, options);
    CheckSound(options.sound, options.inputs);
    Recordings recordings(global, options.inputs, options.sound.Choice());
    OutputGuard guard(options.overwrite);
    ClaimAlignOutputs(global, options, options.inputs, guard);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    recordings.Prepare(session, options.jobs.Count(), progress);

    const Recording& first = recordings.List().front();
    const double fps = first.asset ? FrameRateOf(*first.asset, global) : 0.0;
    return AlignWithFirst({options, recordings, fps, SyncedTimeline, guard}, session, progress);
}

}  // namespace orlo::host
