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

/// Peak files in the media cache: made once from a media file's audio, at its own rate, and found
/// again in later runs through the media database.
///
/// Threads: any; calls for one media path wait for a lock of the asset's media manager, which is
/// held until the file is complete. Conformed files have another lock, so that both can be made
/// from one media file at the same time. A database connection is used by one thread at a time.
namespace WaveformPeakFileHelper {

/// Finds or makes the peak file of an asset's stream.
///
/// A file is current if the database has a record for exactly this media path, size, last-write
/// time and stream index, its name is not empty and the file exists. Finding the file marks its
/// record as used now; reading the file does not.
/// @param cacheFolder       folder of the file; if empty, no file is made
/// @param log               may be empty
/// @param database          may be empty: then each call makes a new file and records nothing
/// @param includeAllCodecs  false skips streams of codec 6
/// @return the file's full path, or an empty string; the error is in the log
/// @throws std::exception from the database at the lookup, and "Cannot create UUID"
SONREL_EXPORT std::wstring CreateWaveformPeakFile(const std::shared_ptr<project::MediaAsset>& asset,
                                                  const std::wstring& cacheFolder,
                                                  const std::shared_ptr<project::LogFile>& log,
                                                  const std::shared_ptr<project::MediaDB>& database,
                                                  bool includeAllCodecs);

/// Makes a peak file even if a current file exists, and records it instead of that file, like
/// ConformedAudioFileHelper::RemakeConformedAudioFile. Everything else is as for
/// CreateWaveformPeakFile.
SONREL_EXPORT std::wstring RemakeWaveformPeakFile(const std::shared_ptr<project::MediaAsset>& asset,
                                                  const std::wstring& cacheFolder,
                                                  const std::shared_ptr<project::LogFile>& log,
                                                  const std::shared_ptr<project::MediaDB>& database,
                                                  bool includeAllCodecs);

/// Sets the peak file of the asset's stream and marks the waveform as available.
SONREL_EXPORT void SetWaveformPreviewAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                               const std::wstring& peakFilePath);

/// Calls CreateWaveformPeakFile, then the form above with its result. The waveform is marked as
/// available also when the result is empty: the attempt is complete, and no picture can be drawn.
SONREL_EXPORT void SetWaveformPreviewAvailable(const std::shared_ptr<project::MediaAsset>& asset,
                                               const std::wstring& cacheFolder,
                                               const std::shared_ptr<project::LogFile>& log,
                                               const std::shared_ptr<project::MediaDB>& database,
                                               bool includeAllCodecs);

}  // namespace WaveformPeakFileHelper

}  // namespace orlo::sonrel
