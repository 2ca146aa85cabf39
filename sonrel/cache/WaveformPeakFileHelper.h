// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {
class LogFile;
class MediaAsset;
class MediaDB;
}  // namespace orlo::project

namespace orlo::sonrel {

/// Peak files in the media cache: made once of a media file's own audio, at its own rate, and found
/// again in later runs through the media database.
///
/// Threads: any; work on one media path queues under a lock of the asset's media manager, which is
/// held until the file is complete. Conformed files have another lock, so that both can be made of
/// one media file at once. A database connection serves one thread at a time.
namespace WaveformPeakFileHelper {

/// Finds or makes the peak file of an asset's stream.
///
/// A file is current when a record stands for exactly this media path, size and last-write time and
/// stream index, its name is not empty and the file is on disk. To find it stamps it as used now;
/// to read it does not.
/// @param cacheFolder       where the file lies; empty makes nothing
/// @param log               may be empty
/// @param database          may be empty: then each call makes a new file and records nothing
/// @param includeAllCodecs  false passes over streams of codec 6
/// @return the file's full path, or an empty string; what went wrong stands in the log
/// @throws std::exception what the database throws at the lookup, and "Cannot create UUID"
SONREL_EXPORT std::wstring CreateWaveformPeakFile(const std::shared_ptr<project::MediaAsset>& asset,
                                                  const std::wstring& cacheFolder,
                                                  const std::shared_ptr<project::LogFile>& log,
                                                  const std::shared_ptr<project::MediaDB>& database,
                                                  bool includeAllCodecs);

/// Makes a peak file although there may be a current one, and records it in its place, as
/// ConformedAudioFileHelper::RemakeConformedAudioFile does. Everything else is as for
/// CreateWaveformPeakFile.
SONREL_EXPORT std::wstring RemakeWaveformPeakFile(const std::shared_ptr<project::MediaAsset>& asset,
                                                  const std::wstring& cacheFolder,
                                                  const std::shared_ptr<project::LogFile>& log,
                                                  const std::shared_ptr<project::MediaDB>& database,
                                                  bool includeAllCodecs);

/// Puts a peak file on the asset's stream and marks the waveform as available.
SONREL_EXPORT void SetWaveformPreviewAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                               const std::wstring& peakFilePath);

/// CreateWaveformPeakFile, then the form above with its result. The waveform is marked as available
/// also when the result is empty: the question is settled, and there is no picture.
SONREL_EXPORT void SetWaveformPreviewAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                               const std::wstring& cacheFolder,
                                               const std::shared_ptr<project::LogFile>& log,
                                               const std::shared_ptr<project::MediaDB>& database,
                                               bool includeAllCodecs);

}  // namespace WaveformPeakFileHelper

}  // namespace orlo::sonrel
