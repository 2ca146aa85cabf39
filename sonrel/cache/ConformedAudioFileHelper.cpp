// SPDX-License-Identifier: MIT
#include "sonrel/cache/ConformedAudioFileHelper.h"

#include <cstdint>
#include <exception>
#include <optional>

#include "sonrel/base/ZRCriticalSection.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/cache/detail/CacheFile.h"
#include "sonrel/cache/detail/MediaSource.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/project.h"

namespace orlo::sonrel {

using detail::CachePaths;
using detail::CacheRecord;
using detail::MediaKey;
using detail::WhenRefused;
using project::LogFile;
using project::MediaAsset;
using project::MediaDB;
using zrtl::thread::ZRScopedLock;

namespace {

class ConformedRecord final : public CacheRecord {
public:
    ConformedRecord(MediaDB& database, const MediaKey& key, int sampleRate)
        : database_(database), key_(key), sampleRate_(sampleRate) {}

    bool Find(std::wstring* name) const override {
        return database_.GetConformedFilename(key_.mediaPath, key_.fingerprint, key_.streamIndex,
                                              sampleRate_, name);
    }
    void Add(const std::wstring& name, std::uint64_t checksum) override {
        database_.AddConformedFile(key_.mediaPath, key_.fingerprint, key_.streamIndex, sampleRate_,
                                   name, checksum);
    }
    std::wstring Replace(const std::wstring& name, std::uint64_t checksum) override {
        return database_.ReplaceConformedFile(key_.mediaPath, key_.fingerprint, key_.streamIndex,
                                              sampleRate_, name, checksum);
    }
    void RemoveReplaced(const std::wstring& name) override {
        database_.RemoveConformedFile(key_.mediaPath, MediaDB::ReplacedFingerprint(name),
                                      key_.streamIndex, sampleRate_);
    }
    void Touch() override {
        database_.TouchConformedFile(key_.mediaPath, key_.fingerprint, key_.streamIndex,
                                     sampleRate_);
    }
    void Remove() override {
        database_.RemoveConformedFile(key_.mediaPath, key_.fingerprint, key_.streamIndex,
                                      sampleRate_);
    }

private:
    MediaDB& database_;
    const MediaKey& key_;
    int sampleRate_;
};

std::optional<std::uint64_t> ConvertToCacheFile(const MediaKey& key, int sampleRate,
                                                const std::wstring& cachePath) {
    try {
        const detail::MediaFile file = detail::OpenMediaFile(key.mediaPath);
        file->SetReadOption(1);
        if (file->Prepare() != 0) return {};
        const auto stream =
            detail::FindAudioStream(*file, static_cast<unsigned long long>(key.streamIndex));
        if (stream == nullptr) return {};
        std::uint64_t checksum = 0;
        const int code = zrh::media::ZRAudioConverter::Convert(
            stream, cachePath, static_cast<unsigned int>(sampleRate), &checksum);
        return code == 0 ? std::optional(checksum) : std::nullopt;
    } catch (const std::exception&) {
        return {};
    }
}

/// @param settle  finds or makes the file: from the place, the record and the converter
template <class Settle>
std::wstring Conform(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                     const std::wstring& cacheFolder, const std::shared_ptr<LogFile>& log,
                     const std::shared_ptr<MediaDB>& database, bool includeAllCodecs,
                     Settle settle) {
    if (cacheFolder.empty()) return {};
    if (!detail::IsCached(*asset, includeAllCodecs)) return {};
    const MediaKey key = detail::KeyOf(*asset);

    // An asset that outlived its project has no lock and so gets no file.
    const std::shared_ptr<project::MediaManager> manager = asset->MediaManager();
    if (manager == nullptr) return {};
    const ZRScopedLock lock(manager->ConformedAudioCacheFileCS(key.mediaPath));

    std::optional<ConformedRecord> record;
    if (database != nullptr) record.emplace(*database, key, sampleRate);
    const CachePaths place{key.mediaPath, cacheFolder, L".xwmc", log.get()};
    return settle(place, record ? &*record : nullptr, [&](const std::wstring& cachePath) {
        return ConvertToCacheFile(key, sampleRate, cachePath);
    });
}

auto FindOrMake(WhenRefused whenRefused) {
    return [whenRefused](const CachePaths& place, CacheRecord* record,
                         const detail::MakeCacheFile& make) {
        return detail::FindOrMakeCacheFile(place, record, make, whenRefused);
    };
}

}  // namespace

namespace ConformedAudioFileHelper {

std::wstring CreateConformedAudioFile(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                                      const std::wstring& cacheFolder,
                                      const std::shared_ptr<LogFile>& log,
                                      const std::shared_ptr<MediaDB>& database,
                                      bool includeAllCodecs) {
    return Conform(asset, sampleRate, cacheFolder, log, database, includeAllCodecs,
                   FindOrMake(WhenRefused::GiveUp));
}

std::wstring RemakeConformedAudioFile(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                                      const std::wstring& cacheFolder,
                                      const std::shared_ptr<LogFile>& log,
                                      const std::shared_ptr<MediaDB>& database,
                                      bool includeAllCodecs) {
    return Conform(asset, sampleRate, cacheFolder, log, database, includeAllCodecs,
                   detail::RemakeCacheFile);
}

void SetAudioSamplesAvailable(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                              const std::wstring& conformedFilePath) {
    const auto& stream = asset->AudioStream();
    if (stream == nullptr) return;
    // The path first: a reader that sees the flag finds the path set.
    stream->SetConformedFile(conformedFilePath, sampleRate);
    stream->SetSamplesAvailable(true);
}

void SetAudioSamplesAvailable(const std::shared_ptr<MediaAsset>& asset, int sampleRate,
                              const std::wstring& cacheFolder, const std::shared_ptr<LogFile>& log,
                              const std::shared_ptr<MediaDB>& database, bool includeAllCodecs) {
    SetAudioSamplesAvailable(asset, sampleRate,
                             Conform(asset, sampleRate, cacheFolder, log, database,
                                     includeAllCodecs, FindOrMake(WhenRefused::LookAgain)));
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
