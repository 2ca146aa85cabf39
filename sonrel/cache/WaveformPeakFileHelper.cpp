// SPDX-License-Identifier: MIT
#include "sonrel/cache/WaveformPeakFileHelper.h"

#include "sonrel/cache/LogFile.h"
#include "sonrel/cache/detail/CacheFile.h"
#include "sonrel/project.h"

namespace orlo::sonrel {

using detail::CacheRequest;
using detail::IfNotRecorded;
using detail::PEAK_FILES;
using project::LogFile;
using project::MediaAsset;
using project::MediaDB;

namespace WaveformPeakFileHelper {

std::wstring CreateWaveformPeakFile(const std::shared_ptr<MediaAsset>& asset,
                                    const std::wstring& cacheFolder,
                                    const std::shared_ptr<LogFile>& log,
                                    const std::shared_ptr<MediaDB>& database,
                                    bool includeAllCodecs) {
    return detail::FindOrMakeCacheFile(
        {PEAK_FILES, asset, 0, cacheFolder, log, database, includeAllCodecs},
        IfNotRecorded::GiveUp);
}

std::wstring RemakeWaveformPeakFile(const std::shared_ptr<MediaAsset>& asset,
                                    const std::wstring& cacheFolder,
                                    const std::shared_ptr<LogFile>& log,
                                    const std::shared_ptr<MediaDB>& database,
                                    bool includeAllCodecs) {
    return detail::RemakeCacheFile(
        {PEAK_FILES, asset, 0, cacheFolder, log, database, includeAllCodecs});
}

void SetWaveformPreviewAvailable(const std::shared_ptr<MediaAsset>& asset,
                                 const std::wstring& peakFilePath) {
    const auto& stream = asset->AudioStream();
    if (stream == nullptr) return;
    // The path first: a reader that sees the flag also sees the path.
    stream->SetWaveformPeakFilePath(peakFilePath);
    stream->SetWaveformPreviewAvailable(true);
}

void SetWaveformPreviewAvailable(const std::shared_ptr<MediaAsset>& asset,
                                 const std::wstring& cacheFolder,
                                 const std::shared_ptr<LogFile>& log,
                                 const std::shared_ptr<MediaDB>& database, bool includeAllCodecs) {
    const CacheRequest request = {PEAK_FILES, asset,           0, cacheFolder, log,
                                  database,   includeAllCodecs};
    SetWaveformPreviewAvailable(asset,
                                detail::FindOrMakeCacheFile(request, IfNotRecorded::LookAgain));
}

}  // namespace WaveformPeakFileHelper

}  // namespace orlo::sonrel
