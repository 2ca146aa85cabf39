// SPDX-License-Identifier: MIT
#include "sonrel/cache/ConformedAudioFileHelper.h"

#include "sonrel/cache/LogFile.h"
#include "sonrel/cache/detail/CacheFile.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/project.h"

namespace orlo::sonrel {

using detail::CacheRequest;
using detail::CONFORMED_FILES;
using detail::IfNotRecorded;
using project::LogFile;
using project::MediaAsset;
using project::MediaDB;

namespace ConformedAudioFileHelper {

std::wstring CreateConformedAudioFile(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                                      const std::wstring& cacheFolder,
                                      const std::shared_ptr<LogFile>& log,
                                      const std::shared_ptr<MediaDB>& database,
                                      bool includeAllCodecs) {
    return detail::FindOrMakeCacheFile(
        {CONFORMED_FILES, asset, sampleRate, cacheFolder, log, database, includeAllCodecs},
        IfNotRecorded::GiveUp);
}

std::wstring RemakeConformedAudioFile(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                                      const std::wstring& cacheFolder,
                                      const std::shared_ptr<LogFile>& log,
                                      const std::shared_ptr<MediaDB>& database,
                                      bool includeAllCodecs) {
    return detail::RemakeCacheFile(
        {CONFORMED_FILES, asset, sampleRate, cacheFolder, log, database, includeAllCodecs});
}

void SetAudioSamplesAvailable(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                              const std::wstring& conformedFilePath) {
    const auto& stream = asset->AudioStream();
    if (stream == nullptr) return;
    // The path first: a reader that sees the flag also sees the path.
    stream->SetConformedFile(conformedFilePath, sampleRate);
    stream->SetSamplesAvailable(true);
}

void SetAudioSamplesAvailable(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                              const std::wstring& cacheFolder, const std::shared_ptr<LogFile>& log,
                              const std::shared_ptr<MediaDB>& database, bool includeAllCodecs) {
    const CacheRequest request = {CONFORMED_FILES, asset,           sampleRate, cacheFolder, log,
                                  database,        includeAllCodecs};
    SetAudioSamplesAvailable(asset, sampleRate,
                             detail::FindOrMakeCacheFile(request, IfNotRecorded::LookAgain));
}

void SetAudioSamplesAvailable(const std::shared_ptr<project::Project>& project,
                              const std::shared_ptr<Sonrel>& sonrel, bool includeAllCodecs) {
    const int sampleRate = project->Sequence()->Settings().AudioSampleRateValue();
    const std::wstring cacheFolder = sonrel->MediaCacheFolderPath();
    const std::shared_ptr<MediaDB> database = sonrel->OpenMediaDatabaseConnection();
    const std::shared_ptr<LogFile> log = sonrel->MediaCacheErrorLog();

    for (const auto& asset : project->Assets().All()) {
        if (asset->AssetType() != 0) continue;
        const auto media = std::static_pointer_cast<MediaAsset>(asset);
        if (media->AudioStream() == nullptr) continue;
        SetAudioSamplesAvailable(media, sampleRate, cacheFolder, log, database, includeAllCodecs);
    }
}

void SetAudioSamplesUnavailable(const std::shared_ptr<MediaAsset>& asset) {
    const auto& stream = asset->AudioStream();
    if (stream == nullptr) return;
    stream->ClearConformedFile();
    stream->SetSamplesAvailable(false);
}

}  // namespace ConformedAudioFileHelper

}  // namespace orlo::sonrel
