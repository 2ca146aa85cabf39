// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/CacheKind.h"

#include <exception>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/detail/PeakFileWriter.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/files/RegularFile.h"
#include "sonrel/media.h"

namespace orlo::sonrel::detail {

using project::MediaAsset;
using project::MediaDB;
using project::MediaManager;

namespace {

std::optional<std::uint64_t> Convert(const std::shared_ptr<MediaAsset>&, const CacheKey& key,
                                     const std::wstring& cachePath) {
    try {
        const zrh::media::MediaFilePtr file = zrh::media::OpenMediaFile(key.mediaPath);
        file->SetReadOption(1);
        if (file->Prepare() != 0) return {};
        const auto stream =
            zrh::media::FindAudioStream(*file, static_cast<unsigned long long>(key.streamIndex));
        if (stream == nullptr) return {};
        std::uint64_t checksum = 0;
        const int code = zrh::media::ZRAudioConverter::Convert(
            stream, cachePath, static_cast<unsigned int>(key.sampleRate), &checksum);
        return code == 0 ? std::optional(checksum) : std::nullopt;
    } catch (const std::exception&) {
        return {};
    }
}

std::optional<std::uint64_t> MakePeakFile(const std::shared_ptr<MediaAsset>& asset, const CacheKey&,
                                          const std::wstring& cachePath) {
    try {
        std::uint64_t checksum = 0;
        const int code =
            WritePeakFile(asset, cachePath, PeakFile::CreateMode::Auto, PeakOutput::New, &checksum);
        if (code != 0 || !files::SyncClosedFile(zrtl::ToUtf8(cachePath))) return {};
        return checksum;
    } catch (const std::exception&) {
        return {};
    }
}

}  // namespace

const CacheKind CONFORMED_FILES = {
    .extension = L".xwmc",
    .lock = &MediaManager::ConformedAudioCacheFileCS,
    .find =
        [](const MediaDB& database, const CacheKey& key, std::wstring* name) {
            return database.GetConformedFilename(key.mediaPath, key.fingerprint, key.streamIndex,
                                                 key.sampleRate, name);
        },
    .touch =
        [](MediaDB& database, const CacheKey& key) {
            database.TouchConformedFile(key.mediaPath, key.fingerprint, key.streamIndex,
                                        key.sampleRate);
        },
    .remove =
        [](MediaDB& database, const CacheKey& key) {
            database.RemoveConformedFile(key.mediaPath, key.fingerprint, key.streamIndex,
                                         key.sampleRate);
        },
    .add =
        [](MediaDB& database, const CacheKey& key, const std::wstring& name,
           std::uint64_t checksum) {
            database.AddConformedFile(key.mediaPath, key.fingerprint, key.streamIndex,
                                      key.sampleRate, name, checksum);
        },
    .replace =
        [](MediaDB& database, const CacheKey& key, const std::wstring& name,
           std::uint64_t checksum) {
            return database.ReplaceConformedFile(key.mediaPath, key.fingerprint, key.streamIndex,
                                                 key.sampleRate, name, checksum);
        },
    .make = Convert,
};

const CacheKind PEAK_FILES = {
    .extension = L".xwpk",
    .lock = &MediaManager::WaveformPeakFileCS,
    .find =
        [](const MediaDB& database, const CacheKey& key, std::wstring* name) {
            return database.GetPeakFilename(key.mediaPath, key.fingerprint, key.streamIndex, name);
        },
    .touch =
        [](MediaDB& database, const CacheKey& key) {
            database.TouchPeakFile(key.mediaPath, key.fingerprint, key.streamIndex);
        },
    .remove =
        [](MediaDB& database, const CacheKey& key) {
            database.RemovePeakFile(key.mediaPath, key.fingerprint, key.streamIndex);
        },
    .add =
        [](MediaDB& database, const CacheKey& key, const std::wstring& name,
           std::uint64_t checksum) {
            database.AddPeakFile(key.mediaPath, key.fingerprint, key.streamIndex, name, checksum);
        },
    .replace =
        [](MediaDB& database, const CacheKey& key, const std::wstring& name,
           std::uint64_t checksum) {
            return database.ReplacePeakFile(key.mediaPath, key.fingerprint, key.streamIndex, name,
                                            checksum);
        },
    .make = MakePeakFile,
};

}  // namespace orlo::sonrel::detail
