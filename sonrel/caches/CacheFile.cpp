// SPDX-License-Identifier: MIT
#include "sonrel/caches/detail/CacheFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <QString>
#include <exception>
#include <optional>

#include "sonrel/caches/LogFile.h"
#include "sonrel/caches/detail/MediaFingerprint.h"
#include "sonrel/contracts/project/MediaAsset.h"
#include "sonrel/contracts/project/MediaDB.h"
#include "sonrel/contracts/zrtl/Paths.h"
#include "sonrel/contracts/zrtl/ZRID.h"

namespace orlo::sonrel::detail {

using project::MediaAsset;
using project::MediaDB;

namespace {

void Log(const CacheFilePlace& place, const wchar_t* text, const std::wstring& cachePath) {
    if (place.log == nullptr) return;
    place.log->Write(text + place.mediaPath + L" " + cachePath);
}

/// A file that cannot be deleted either stays as it is: no record leads to it.
void Delete(const std::wstring& cachePath) {
    QFile::remove(QString::fromStdWString(cachePath));
}

bool Sync(const std::string& path, int flags) {
    const int descriptor = ::open(path.c_str(), flags | O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool synced = ::fsync(descriptor) == 0;
    ::close(descriptor);
    return synced;
}

/// The path of the record's current file. A record that has none is removed.
std::optional<std::wstring> FindCurrent(const CacheFilePlace& place, CacheRecord& record) {
    std::wstring name;
    if (!record.Find(&name)) return std::nullopt;
    if (!name.empty()) {
        std::wstring path = MediaDB::CreateMediaCacheFilePath(place.cacheFolder, name);
        if (QFile::exists(QString::fromStdWString(path))) return path;
    }
    record.Remove();
    return std::nullopt;
}

void Touch(const CacheFilePlace& place, CacheRecord& record, const std::wstring& cachePath) {
    try {
        record.Touch();
    } catch (const std::exception&) {
        Log(place, L"Could not update timestamp: ", cachePath);
    }
}

/// @return whether the record was made
bool Add(const CacheFilePlace& place, CacheRecord& record, const std::wstring& name,
         const std::wstring& cachePath) {
    try {
        record.Add(name);
        return true;
    } catch (const std::exception&) {
        Delete(cachePath);
        Log(place, L"Could not add to database: ", cachePath);
        return false;
    }
}

}  // namespace

std::wstring SoundPath(const MediaAsset& asset) {
    return asset.IsMerged() ? asset.MergedAudioFilename() : asset.Filename();
}

MediaKey KeyOf(const MediaAsset& asset) {
    MediaKey key;
    key.mediaPath = SoundPath(asset);
    key.fingerprint = MediaFingerprint(key.mediaPath);
    key.streamIndex = static_cast<int>(asset.AudioStreamIndex());
    return key;
}

bool IsCached(const MediaAsset& asset, bool includeAllCodecs) {
    const auto& stream = asset.AudioStream();
    if (stream == nullptr) return false;
    return includeAllCodecs || stream->Codec() != zrh::media::ZRAudioCodec::Skipped;
}

bool SyncToDisk(const std::wstring& path) {
    const std::string file = zrtl::ToUtf8(path);
    const std::size_t slash = file.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash + 1);
    return Sync(file, 0) && Sync(folder, O_DIRECTORY);
}

std::wstring FindOrMakeCacheFile(const CacheFilePlace& place, CacheRecord* record,
                                 const MakeCacheFile& make) {
    if (record != nullptr) {
        if (const auto current = FindCurrent(place, *record)) {
            Touch(place, *record, *current);
            return *current;
        }
    }

    const std::wstring name = zrtl::ZRID::Create().ToString() + place.extension;
    std::wstring path = MediaDB::CreateMediaCacheFilePath(place.cacheFolder, name);
    if (!make(path)) {
        Delete(path);
        Log(place, L"Could not save: ", path);
        return {};
    }
    if (record != nullptr && !Add(place, *record, name, path)) return {};
    return path;
}

}  // namespace orlo::sonrel::detail
