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
/// rate, found again in later runs through the media database.
///
/// Threads: any; work on one media path queues under the lock of the asset's media manager, which
/// is held across the whole conversion. A database connection serves one thread at a time.
namespace ConformedAudioFileHelper {

/// Finds or makes the conformed file of an asset's stream.
///
/// A file is current when a record stands for exactly this media path, size and last-write time,
/// stream index and rate, its name is not empty and the file is on disk.
/// @param sampleRate        hertz
/// @param cacheFolder       where the file lies; empty makes nothing
/// @param log               may be empty
/// @param database          may be empty: then each call makes a new file and records nothing
/// @param includeAllCodecs  false passes over streams of codec 6
/// @return the file's full path, or an empty string; what went wrong stands in the log
/// @throws std::exception what the database throws at the lookup, and "Cannot create UUID"
SONREL_EXPORT std::wstring CreateConformedAudioFile(
    const std::shared_ptr<project::MediaAsset>& asset, int sampleRate,
    const std::wstring& cacheFolder, const std::shared_ptr<project::LogFile>& log,
    const std::shared_ptr<project::MediaDB>& database, bool includeAllCodecs);

/// Makes a conformed file although there may be a current one, and records it in its place.
/// Everybody who looks finds the old file or the new one. The old file is removed unless another
/// process uses it; then the end of an engine removes it later. On failure the old file stays
/// current.
///
/// Everything else is as for CreateConformedAudioFile.
SONREL_EXPORT std::wstring RemakeConformedAudioFile(
    const std::shared_ptr<project::MediaAsset>& asset, int sampleRate,
    const std::wstring& cacheFolder, const std::shared_ptr<project::LogFile>& log,
    const std::shared_ptr<project::MediaDB>& database, bool includeAllCodecs);

/// Puts a conformed file on the asset's stream and marks it as available.
SONREL_EXPORT void SetAudioSamplesAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                            int sampleRate, const std::wstring& conformedFilePath);

/// CreateConformedAudioFile, then the form above with its result. The stream is marked as available
/// also when the result is empty: the question is settled, and the stream is silent.
SONREL_EXPORT void SetAudioSamplesAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                            int sampleRate, const std::wstring& cacheFolder,
                                            const std::shared_ptr<project::LogFile>& log,
                                            const std::shared_ptr<project::MediaDB>& database,
                                            bool includeAllCodecs);

/// The form above for every media asset with sound of a project, in list order, at the rate of its
/// main sequence, with one database connection.
SONREL_EXPORT void SetAudioSamplesAvailable(const std::shared_ptr<project::Project>& project,
                                            const std::shared_ptr<Sonrel>& sonrel,
                                            bool includeAllCodecs);

/// Takes the conformed file off the asset's stream and marks it as not available.
SONREL_EXPORT void SetAudioSamplesUnavailable(const std::shared_ptr<project::MediaAsset>& asset);

}  // namespace ConformedAudioFileHelper

}  // namespace orlo::sonrel
