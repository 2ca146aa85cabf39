// SPDX-License-Identifier: MIT
#include "sonrel/cache/WaveformPeakFileHelper.h"

#include <cstdint>
#include <exception>
#include <optional>

#include "sonrel/base/ZRCriticalSection.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/detail/CacheFile.h"
#include "sonrel/cache/detail/PeakFileWriter.h"
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

class PeakRecord final : public CacheRecord {
public:
    PeakRecord(MediaDB& database, const MediaKey& key) : database_(database), key_(key) {}

    bool Find(std::wstring* name) const override {
        return database_.GetPeakFilename(key_.mediaPath, key_.fingerprint, key_.streamIndex, name);
    }
    void Add(const std::wstring& name, std::uint64_t checksum) override {
        database_.AddPeakFile(key_.mediaPath, key_.fingerprint, key_.streamIndex, name, checksum);
    }
    std::wstring Replace(const std::wstring& name, std::uint64_t checksum) override {
        return database_.ReplacePeakFile(key_.mediaPath, key_.fingerprint, key_.streamIndex, name,
                                         checksum);
    }
    void RemoveReplaced(const std::wstring& name) override {
        database_.RemovePeakFile(key_.mediaPath, MediaDB::ReplacedFingerprint(name),
                                 key_.streamIndex);
    }
    void Touch() override {
        database_.TouchPeakFile(key_.mediaPath, key_.fingerprint, key_.streamIndex);
    }
    void Remove() override {
        database_.RemovePeakFile(key_.mediaPath, key_.fingerprint, key_.streamIndex);
    }

private:
    MediaDB& database_;
    const MediaKey& key_;
};

std::optional<std::uint64_t> MakePeakFile(const std::shared_ptr<MediaAsset>& asset,
                                          const std::wstring& cachePath) {
    try {
        std::uint64_t checksum = 0;
        const int code = detail::WritePeakFile(asset, cachePath, PeakFile::CreateMode::Auto,
                                               detail::PeakOutput::New, &checksum);
        if (code != 0 || !detail::SyncToDisk(cachePath)) return {};
        return checksum;
    } catch (const std::exception&) {
        return {};
    }
}

/// @param settle  finds or makes the file: from the place, the record and the writer
template <class Settle>
std::wstring WithRecord(const std::shared_ptr<MediaAsset>& asset, const std::wstring& cacheFolder,
                        const std::shared_ptr<LogFile>& log,
                        const std::shared_ptr<MediaDB>& database, bool includeAllCodecs,
                        Settle settle) {
    if (cacheFolder.empty()) return {};
    if (!detail::IsCached(*asset, includeAllCodecs)) return {};
    const MediaKey key = detail::KeyOf(*asset);

    // An asset that outlived its project has no lock and so gets no file.
    const std::shared_ptr<project::MediaManager> manager = asset->MediaManager();
    if (manager == nullptr) return {};
    const ZRScopedLock lock(manager->WaveformPeakFileCS(key.mediaPath));

    std::optional<PeakRecord> record;
    if (database != nullptr) record.emplace(*database, key);
    const CachePaths place{key.mediaPath, cacheFolder, L".xwpk", log.get()};
    return settle(place, record ? &*record : nullptr,
                  [&](const std::wstring& cachePath) { return MakePeakFile(asset, cachePath); });
}

std::wstring FindOrMake(const std::shared_ptr<MediaAsset>& asset, const std::wstring& cacheFolder,
                        const std::shared_ptr<LogFile>& log,
                        const std::shared_ptr<MediaDB>& database, bool includeAllCodecs,
                        WhenRefused whenRefused) {
    return WithRecord(asset, cacheFolder, log, database, includeAllCodecs,
                      [whenRefused](const CachePaths& place, CacheRecord* record,
                                    const detail::MakeCacheFile& make) {
                          return detail::FindOrMakeCacheFile(place, record, make, whenRefused);
                      });
}

}  // namespace

namespace WaveformPeakFileHelper {

std::wstring CreateWaveformPeakFile(const std::shared_ptr<MediaAsset>& asset,
                                    const std::wstring& cacheFolder,
                                    const std::shared_ptr<LogFile>& log,
                                    const std::shared_ptr<MediaDB>& database,
                                    bool includeAllCodecs) {
    return FindOrMake(asset, cacheFolder, log, database, includeAllCodecs, WhenRefused::GiveUp);
}

std::wstring RemakeWaveformPeakFile(const std::shared_ptr<MediaAsset>& asset,
                                    const std::wstring& cacheFolder,
                                    const std::shared_ptr<LogFile>& log,
                                    const std::shared_ptr<MediaDB>& database,
                                    bool includeAllCodecs) {
    return WithRecord(asset, cacheFolder, log, database, includeAllCodecs, detail::RemakeCacheFile);
}

void SetWaveformPreviewAvailable(const std::shared_ptr<MediaAsset>& asset,
                                 const std::wstring& peakFilePath) {
    const auto& stream = asset->AudioStream();
    if (stream == nullptr) return;
    // The path first: a reader that sees the flag finds the path set.
    stream->SetWaveformPeakFilePath(peakFilePath);
    stream->SetWaveformPreviewAvailable(true);
}

void SetWaveformPreviewAvailable(const std::shared_ptr<MediaAsset>& asset,
                                 const std::wstring& cacheFolder,
                                 const std::shared_ptr<LogFile>& log,
                                 const std::shared_ptr<MediaDB>& database, bool includeAllCodecs) {
    SetWaveformPreviewAvailable(asset, FindOrMake(asset, cacheFolder, log, database,
                                                  includeAllCodecs, WhenRefused::LookAgain));
}

}  // namespace WaveformPeakFileHelper

}  // namespace orlo::sonrel
