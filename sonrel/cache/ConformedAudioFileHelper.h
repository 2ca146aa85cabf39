// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {
class LogFile;
class MediaAsset;
class MediaDB;
class Project;
}  // namespace orlo::project

namespace orlo::sonrel {

class Sonrel;

/// Conformed files: the audio of a media file, converted once to stereo 16 bits at the project's
/// rate, and found again in later runs through the media database.
///
/// Threads: any; calls for one media path wait for the lock of the asset's media manager, which is
/// held during the whole conversion. A database connection is used by one thread at a time.
namespace ConformedAudioFileHelper {

/// Finds or makes the conformed file of an asset's stream.
///
/// A file is current if the database has a record for exactly this media path, size, last-write
/// time, stream index and rate, its name is not empty and the file exists.
/// @param sampleRate        hertz
/// @param cacheFolder       folder of the file; if empty, no file is made
/// @param log               may be empty
/// @param database          may be empty: then each call makes a new file and records nothing
/// @param includeAllCodecs  false skips streams of codec 6
/// @return the file's full path, or an empty string; the error is in the log
/// @throws std::exception from the database at the lookup, and "Cannot create UUID"
SONREL_EXPORT std::wstring CreateConformedAudioFile(
    const std::shared_ptr<project::MediaAsset>& asset, int sampleRate,
    const std::wstring& cacheFolder, const std::shared_ptr<project::LogFile>& log,
    const std::shared_ptr<project::MediaDB>& database, bool includeAllCodecs);

/// Makes a conformed file even if a current file exists, and records it instead of that file. A
/// lookup finds the old or the new file at any time. The old file is removed unless another process
/// uses it; then the destruction of an engine removes it later. On failure the old file remains
/// current.
///
/// Everything else is as for CreateConformedAudioFile.
SONREL_EXPORT std::wstring RemakeConformedAudioFile(
    const std::shared_ptr<project::MediaAsset>& asset, int sampleRate,
    const std::wstring& cacheFolder, const std::shared_ptr<project::LogFile>& log,
    const std::shared_ptr<project::MediaDB>& database, bool includeAllCodecs);

/// Sets the conformed file of the asset's stream and marks its samples as available.
SONREL_EXPORT void SetAudioSamplesAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                            int sampleRate, const std::wstring& conformedFilePath);

/// Calls CreateConformedAudioFile, then the form above with its result. The samples are marked as
/// available also when the result is empty: the attempt is complete, and the stream is silent.
SONREL_EXPORT void SetAudioSamplesAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                            int sampleRate, const std::wstring& cacheFolder,
                                            const std::shared_ptr<project::LogFile>& log,
                                            const std::shared_ptr<project::MediaDB>& database,
                                            bool includeAllCodecs);

/// The form above for every media asset with sound of a project, in list order, at the rate of the
/// project's sequence, with one database connection.
SONREL_EXPORT void SetAudioSamplesAvailable(const std::shared_ptr<project::Project>& project,
                                            const std::shared_ptr<Sonrel>& sonrel,
                                            bool includeAllCodecs);

/// Clears the conformed file of the asset's stream and marks its samples as unavailable.
SONREL_EXPORT void SetAudioSamplesUnavailable(const std::shared_ptr<project::MediaAsset>& asset);

}  // namespace ConformedAudioFileHelper

}  // namespace orlo::sonrel
