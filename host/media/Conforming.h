// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/media/EngineSession.h"
#include "host/media/MediaEntries.h"
#include "host/shell/Progress.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::host {

/// One stream of a media file to conform, and what came of it.
struct ConformTask {
    using Status = FileStatus;

    std::shared_ptr<project::MediaAsset> asset;  ///< with sound
    int rate = 0;                                ///< hertz

    Status status = Status::Failed;
    std::string path;   ///< of the conformed file; empty when it failed
    std::string error;  ///< a clause; empty unless it failed
};

struct ConformSettings {
    int jobs = 1;
    bool allCodecs = false;
    bool force = false;  ///< make files anew that are there
};

/// Finds or makes the conformed files of all tasks and puts them on the assets' streams.
///
/// Several jobs work side by side, each with a database connection of its own. Where another
/// process records the same file first, its file is taken.
/// @throws JobError when the database fails; CommandError when the program is asked to stop
void Conform(const EngineSession& session, std::vector<ConformTask>& tasks,
             const ConformSettings& settings, Progress& progress);

}  // namespace orlo::host
