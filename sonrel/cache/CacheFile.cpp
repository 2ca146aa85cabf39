// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/CacheFile.h"

#include <QFileInfo>
#include <QString>
#include <cerrno>
#include <exception>
#include <optional>
#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/cache/detail/MediaFingerprint.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/files/RegularFile.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::sonrel::detail {

using project::MediaAsset;
using project::MediaDB;

namespace {

void Log(const CachePaths& place, const wchar_t* text, const std::wstring& cachePath) {
    if (place.log == nullptr) return;
    place.log->Write(text + place.mediaPath + L" " + cachePath);
}

/// A file that cannot be deleted either stays as it is: no record leads to it.
void Delete(const std::wstring& cachePath) {
    files::Remove(zrtl::ToUtf8(cachePath));
}

/// A link is not a cache file: nobody reads what it leads to.
bool IsThere(const std::wstring& cachePath) {
    const QFileInfo file(QString::fromStdWString(cachePath));
    return file.exists() && !file.isSymLink();
}

/// The path of the record's current file. A record that has none is removed.
std::optional<std::wstring> FindCurrent(const CachePaths& place, CacheRecord& record) {
    std::wstring name;
    if (!record.Find(&name)) return std::nullopt;
    if (!name.empty()) {
        CacheFolderUse::Mark(place.cacheFolder, name);
        std::wstring path = MediaDB::CreateMediaCacheFilePath(place.cacheFolder, name);
        if (IsThere(path)) return path;
    }
    record.Remove();
    return std::nullopt;
}

void Touch(const CachePaths& place, CacheRecord& record, const std::wstring& cachePath) {
    try {
        record.Touch();
    } catch (const std::exception&) {
        Log(place, L"Could not update timestamp: ", cachePath);
    }
}

/// Finds the current file and stamps its record. Where the file system has no locks, another
/// process may remove file and record until the stamp is made, so the file counts only if it is
/// there afterwards.
std::optional<std::wstring> FindAndTouch(const CachePaths& place, CacheRecord& record) {
    while (auto current = FindCurrent(place, record)) {
        Touch(place, record, *current);
        if (IsThere(*current)) return current;
    }
    return std::nullopt;
}

/// The file of the process that recorded it first. Where the database fails again, there is none.
std::wstring FindTheirs(const CachePaths& place, CacheRecord& record) {
    try {
        return FindAndTouch(place, record).value_or(std::wstring());
    } catch (const std::exception&) {
        return {};
    }
}

struct NewFile {
    std::wstring name;
    std::wstring path;
    std::uint64_t checksum = 0;
};

/// Nobody takes the new file for one that is left over: it is marked first.
std::optional<NewFile> MakeNew(const CachePaths& place, const MakeCacheFile& make) {
    NewFile file;
    file.name = zrtl::ZRID::Create().ToString() + place.extension;
    file.path = MediaDB::CreateMediaCacheFilePath(place.cacheFolder, file.name);
    CacheFolderUse::Mark(place.cacheFolder, file.name);
    if (const std::optional<std::uint64_t> checksum = make(file.path)) {
        file.checksum = *checksum;
        return file;
    }
    Delete(file.path);
    Log(place, L"Could not save: ", file.path);
    return std::nullopt;
}

/// Deletes a file that cannot be recorded.
/// @param add  records the file
/// @return whether it is recorded
template <class Add>
bool Record(const CachePaths& place, const NewFile& file, Add add) {
    try {
        add();
        return true;
    } catch (const std::exception&) {
        Delete(file.path);
        Log(place, L"Could not add to database: ", file.path);
        return false;
    }
}

/// Housekeeping tries again where this fails.
void RemoveReplaced(const CachePaths& place, CacheRecord& record, const std::wstring& name) {
    const CacheFileRemoval removal(place.cacheFolder, name);
    const std::wstring path = MediaDB::CreateMediaCacheFilePath(place.cacheFolder, name);
    if (!removal.IsAllowed()) return;
    if (!files::Remove(zrtl::ToUtf8(path)) && errno != ENOENT) return;
    try {
        record.RemoveReplaced(name);
    } catch (const std::exception&) {
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
    const std::string name = zrtl::ToUtf8(path);
    const int descriptor = files::OpenForReading(name, files::Links::Refused);
    if (descriptor < 0) return false;
    const bool synced = files::SyncWithFolder(name, descriptor);
    files::Close(descriptor);
    return synced;
}

std::wstring FindOrMakeCacheFile(const CachePaths& place, CacheRecord* record,
                                 const MakeCacheFile& make, WhenRefused whenRefused) {
    if (record != nullptr) {
        if (auto current = FindAndTouch(place, *record)) return std::move(*current);
    }

    const std::optional<NewFile> file = MakeNew(place, make);
    if (!file) return {};
    if (record == nullptr ||
        Record(place, *file, [&] { record->Add(file->name, file->checksum); })) {
        return file->path;
    }
    return whenRefused == WhenRefused::LookAgain ? FindTheirs(place, *record) : std::wstring();
}

std::wstring RemakeCacheFile(const CachePaths& place, CacheRecord* record,
                             const MakeCacheFile& make) {
    const std::optional<NewFile> file = MakeNew(place, make);
    if (!file) return {};
    if (record == nullptr) return file->path;
    std::wstring old;
    if (!Record(place, *file, [&] { old = record->Replace(file->name, file->checksum); }))
        return {};
    if (!old.empty()) RemoveReplaced(place, *record, old);
    return file->path;
}

}  // namespace orlo::sonrel::detail
