// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/media/EngineSession.h"
#include "host/media/MediaEntries.h"
#include "host/options/GlobalOptions.h"
#include "host/output/PartialFile.h"
#include "host/shell/Progress.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/MediaManager.h"

namespace orlo::host {

/// One stream of a media file to make a peak file of, and what came of it.
struct PeakTask {
    std::shared_ptr<project::MediaAsset> asset;  ///< with sound
    int rate = 0;                                ///< the stream's own, hertz
    int channels = 0;
    long long frames = 0;  ///< as the container tells; 0 where it does not

    FileResult result;
};

/// Looks at a stream without reading its sound, so that a peak file that is there is found at once
/// however long the media are.
/// @throws JobError that names the file
PeakTask PeakTaskFor(const std::shared_ptr<project::MediaManager>& manager, const std::string& path,
                     int stream);

enum class CurrentFiles { Kept, MadeAnew };

/// Finds or makes the peak files of all tasks in the cache. Where another process records the same
/// file first, its file is taken.
/// @throws JobError when the database fails; CommandError when the program is asked to stop
void FindOrMakePeakFiles(const EngineSession& session, std::vector<PeakTask>& tasks,
                         Progress& progress, CurrentFiles current = CurrentFiles::Kept);

/// Threads that make a peak file: as the engine chooses, one or several.
enum class PeakMode { Auto, Single, Multi };

/// Writes a peak file to an output that is committed by the caller.
/// @param wanted  the file that the user asked for, which the message of an interrupt names: the
///                output, or a file that is made from it
/// @throws JobError; CommandError when the program is asked to stop
void WritePeakFile(const PeakTask& task, const PartialFile& output, PeakMode mode,
                   const std::string& wanted, Progress& progress);

}  // namespace orlo::host
