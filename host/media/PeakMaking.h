// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/media/CacheFileRunner.h"
#include "host/media/EngineSession.h"
#include "host/media/MediaEntries.h"
#include "host/options/GlobalOptions.h"
#include "host/output/PartialFile.h"
#include "host/shell/Progress.h"
#include "sonrel/media/SoundChoice.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/MediaManager.h"

namespace orlo::host {

/// The sound of a media file to make a peak file of, and the result.
struct PeakTask {
    std::shared_ptr<project::MediaAsset> asset;  ///< with an audio stream
    int rate = 0;                                ///< native rate of the stream, hertz
    int channels = 0;
    long long frames = 0;  ///< as declared by the container; 0 when not declared

    FileResult result;
};

/// Opens a sound without reading its sound, so that an existing peak file is found at once,
/// however long the media file is.
/// @throws JobError that names the file
PeakTask PeakTaskFor(const std::shared_ptr<project::MediaManager>& manager, const std::string& path,
                     const zrh::media::SoundChoice& choice);

/// Whether a sound has more channels than a peak file stores. Such a task always fails.
bool HasTooManyChannels(const PeakTask& task);

struct PeakSettings {
    int jobs = 1;  ///< files at the same time
    CurrentFiles current = CurrentFiles::Kept;
};

/// Finds or makes the peak files of all tasks in the cache.
/// @throws JobError when the database fails; CommandError when the program is asked to stop
void FindOrMakePeakFiles(const EngineSession& session, std::vector<PeakTask>& tasks,
                         const PeakSettings& settings, Progress& progress);

/// Number of threads that make a peak file: chosen by the engine, one or several.
enum class PeakMode { Auto, Single, Multi };

/// Writes a peak file to an output that is committed by the caller.
/// @param wanted  the file that the user requested, named in the message of an interrupt: the
///                output, or a file that is made from the output
/// @throws JobError; CommandError when the program is asked to stop
void WritePeakFile(const PeakTask& task, const PartialFile& output, PeakMode mode,
                   const std::string& wanted, Progress& progress);

}  // namespace orlo::host
