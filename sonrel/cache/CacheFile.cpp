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
#include "sonrel/cache/detail/SoundPath.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/files/RegularFile.h"
#include "sonrel/project/MediaAsset.h"

namespace orlo::sonrel::detail {

using project::MediaAsset;
using project::MediaDB;

namespace {

/// Whether cache files are made of the asset.
bool IsCached(const MediaAsset& asset, bool includeAllCodecs) {
    const auto& stream = asset.AudioStream();
    if (stream == nullptr) return false;
    return includeAllCodecs || stream->Codec() != zrh::media::ZRAudioCodec::Skipped;
}

/// The key for the current state of the media file.
CacheKey KeyOf(const MediaAsset& asset, int sampleRate) {
    CacheKey key;
    key.mediaPath = SoundPath(asset);
    key.fingerprint = MediaFingerprint(key.mediaPath);
    key.streamIndex = static_cast<int>(asset.AudioStreamIndex());
    key.sampleRate = sampleRate;
    return key;
}

/// A file that cannot be deleted remains: no record refers to it.
void Delete(const std::wstring& cachePath) {
    files::Remove(zrtl::ToUtf8(cachePath));
}

/// A link is not a cache file: its target is never read.
bool Exists(const std::wstring& cachePath) {
    const QFileInfo file(QString::fromStdWString(cachePath));
    return file.exists() && !file.isSymLink();
}

/// The lock of a media path on all machines that share the database. A database in a file has no
/// such lock: two processes may make the same file, and the second is refused as a record.
class SharedLock {
public:
    /// @param database  may be null
    SharedLock(MediaDB* database, std::wstring name) : database_(database), name_(std::move(name)) {
        isHeld_ = database_ != nullptr && database_->LockForAll(name_);
    }
    ~SharedLock() {
        if (isHeld_) database_->UnlockForAll(name_);
    }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

    bool IsHeld() const { return isHeld_; }

private:
    MediaDB* database_;
    std::wstring name_;
    bool isHeld_ = false;
};

/// One request under the lock of its media path.
class CacheRun {
public:
    CacheRun(const CacheRequest& request, CacheKey key)
        : request_(request),
          kind_(request.kind),
          database_(request.database.get()),
          key_(std::move(key)) {}

    std::wstring FindOrMake(IfNotRecorded ifNotRecorded) {
        if (database_ != nullptr) {
            if (auto current = FindAndTouch()) return std::move(*current);
        }
        const SharedLock lock(database_, LockName());
        if (lock.IsHeld()) {
            // Another machine may have made the file while this process waited.
            if (auto current = FindAndTouch()) return std::move(*current);
        }
        const std::optional<NewFile> file = Make();
        if (!file) return {};
        if (database_ == nullptr || Record(*file)) return file->path;
        return ifNotRecorded == IfNotRecorded::LookAgain ? FindFileOfOtherProcess()
                                                         : std::wstring();
    }

    std::wstring Remake() {
        const SharedLock lock(database_, LockName());
        const std::optional<NewFile> file = Make();
        if (!file) return {};
        if (database_ == nullptr) return file->path;
        std::wstring oldName;
        if (!RecordWith(*file, [&] {
                oldName = kind_.replace(*database_, key_, file->name, file->checksum);
            })) {
            return {};
        }
        if (!oldName.empty()) RemoveReplaced(oldName);
        return file->path;
    }

private:
    struct NewFile {
        std::wstring name;
        std::wstring path;
        std::uint64_t checksum = 0;
    };

    /// Conformed files and peak files of one media path have separate locks.
    std::wstring LockName() const { return kind_.extension + key_.mediaPath; }

    std::wstring PathOf(const std::wstring& name) const {
        return MediaDB::CreateMediaCacheFilePath(request_.cacheFolder, name);
    }

    void Log(const wchar_t* text, const std::wstring& cachePath) const {
        if (request_.log == nullptr) return;
        request_.log->Write(text + key_.mediaPath + L" " + cachePath);
    }

    /// The path of the record's current file. A record without one is removed.
    std::optional<std::wstring> FindCurrent() {
        std::wstring name;
        if (!kind_.find(*database_, key_, &name)) return std::nullopt;
        if (!name.empty()) {
            CacheFolderUse::Mark(request_.cacheFolder, name);
            std::wstring path = PathOf(name);
            if (Exists(path)) return path;
        }
        kind_.remove(*database_, key_);
        return std::nullopt;
    }

    void Touch(const std::wstring& cachePath) {
        try {
            kind_.touch(*database_, key_);
        } catch (const std::exception&) {
            Log(L"Could not update timestamp: ", cachePath);
        }
    }

    /// Finds the current file and touches its record. Where the file system has no locks, another
    /// process may remove file and record before the record is touched. So the file counts only if
    /// it exists afterwards.
    std::optional<std::wstring> FindAndTouch() {
        while (auto current = FindCurrent()) {
            Touch(*current);
            if (Exists(*current)) return current;
        }
        return std::nullopt;
    }

    /// The file of the process that recorded its file first; empty if the database fails again.
    std::wstring FindFileOfOtherProcess() {
        try {
            return FindAndTouch().value_or(std::wstring());
        } catch (const std::exception&) {
            return {};
        }
    }

    /// The new file is marked first, so that it never counts as left over.
    std::optional<NewFile> Make() {
        NewFile file;
        file.name = zrtl::ZRID::Create().ToString() + kind_.extension;
        file.path = PathOf(file.name);
        CacheFolderUse::Mark(request_.cacheFolder, file.name);
        if (const auto checksum = kind_.make(request_.asset, key_, file.path)) {
            file.checksum = *checksum;
            return file;
        }
        Delete(file.path);
        Log(L"Could not save: ", file.path);
        return std::nullopt;
    }

    bool Record(const NewFile& file) {
        return RecordWith(file, [&] { kind_.add(*database_, key_, file.name, file.checksum); });
    }

    /// Deletes a file that cannot be recorded.
    /// @param write  writes the record
    /// @return whether the file is recorded
    template <class Write>
    bool RecordWith(const NewFile& file, Write write) const {
        try {
            write();
            return true;
        } catch (const std::exception&) {
            Delete(file.path);
            Log(L"Could not add to database: ", file.path);
            return false;
        }
    }

    /// Housekeeping tries again where this fails.
    void RemoveReplaced(const std::wstring& name) {
        const CacheFileRemoval removal(request_.cacheFolder, name);
        if (!removal.IsAllowed()) return;
        if (!files::Remove(zrtl::ToUtf8(PathOf(name))) && errno != ENOENT) return;
        CacheKey replaced = key_;
        replaced.fingerprint = MediaDB::ReplacedFingerprint(name);
        try {
            kind_.remove(*database_, replaced);
        } catch (const std::exception&) {
        }
    }

    const CacheRequest& request_;
    const CacheKind& kind_;
    MediaDB* database_;  ///< may be null
    CacheKey key_;
};

/// Runs @p operation on a CacheRun under the lock of the media path, if the asset has cache files.
template <class Operation>
std::wstring RunLocked(const CacheRequest& request, Operation operation) {
    if (request.cacheFolder.empty()) return {};
    if (!IsCached(*request.asset, request.includeAllCodecs)) return {};
    CacheKey key = KeyOf(*request.asset, request.sampleRate);

    // An asset that outlived its project has no lock and gets no file.
    const std::shared_ptr<project::MediaManager> manager = request.asset->MediaManager();
    if (manager == nullptr) return {};
    const zrtl::thread::ZRScopedLock lock((manager.get()->*request.kind.lock)(key.mediaPath));
    CacheRun run(request, std::move(key));
    return operation(run);
}

}  // namespace

std::wstring FindOrMakeCacheFile(const CacheRequest& request, IfNotRecorded ifNotRecorded) {
    return RunLocked(request, [&](CacheRun& run) { return run.FindOrMake(ifNotRecorded); });
}

std::wstring RemakeCacheFile(const CacheRequest& request) {
    return RunLocked(request, [](CacheRun& run) { return run.Remake(); });
}

}  // namespace orlo::sonrel::detail
