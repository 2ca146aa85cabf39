// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/media/EngineSession.h"
#include "host/media/MediaEntries.h"
#include "host/shell/Progress.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::host {

/// One stream of a media file to conform, and the result.
struct ConformTask {
    std::shared_ptr<project::MediaAsset> asset;  ///< with an audio stream
    int rate = 0;                                ///< hertz

    FileResult result;
};

struct ConformSettings {
    int jobs = 1;
    bool allCodecs = false;
    bool force = false;  ///< recreate existing files
};

/// Finds or makes the conformed files of all tasks and sets them on the assets' streams.
/// @throws JobError when the database fails; CommandError when the program is asked to stop
void Conform(const EngineSession& session, std::vector<ConformTask>& tasks,
             const ConformSettings& settings, Progress& progress);

}  // namespace orlo::host
