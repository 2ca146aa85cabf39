// SPDX-License-Identifier: MIT
#include "sonrel/cache/CacheFileUse.h"

#include <sys/stat.h>

#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/detail/FolderLocks.h"

namespace orlo::sonrel {

namespace {

/// A folder has one entry, independent of the path: two open lock files in one process would block
/// each other.
using Id = std::pair<dev_t, ino_t>;

struct Folder {
    detail::FolderLocks locks;
    int users = 0;
};

struct Registry {
    std::mutex mutex;
    std::map<Id, Folder> folders;  // guarded by mutex
};

/// Never destroyed: engines may be destroyed after the static objects of the library.
Registry& Folders() {
    static auto& registry = *new Registry;
    return registry;
}

bool FindId(const std::string& folder, Id* id) {
    struct stat status = {};
    if (folder.empty() || stat(folder.c_str(), &status) != 0) return false;
    *id = {status.st_dev, status.st_ino};
    return true;
}

std::string LockFileIn(const std::string& folder) {
    return folder + "/" + CacheFolderUse::LOCK_FILE;
}

}  // namespace

struct CacheFolderUse::FolderId {
    Id id;
};

CacheFolderUse::CacheFolderUse(const std::wstring& cacheFolder) {
    Id id;
    if (!FindId(zrtl::ToUtf8(cacheFolder), &id)) return;
    folder_ = std::make_unique<FolderId>(FolderId{id});
    const std::lock_guard guard(Folders().mutex);
    ++Folders().folders[id].users;
}

CacheFolderUse::~CacheFolderUse() {
    if (folder_ == nullptr) return;
    const std::lock_guard guard(Folders().mutex);
    const auto folder = Folders().folders.find(folder_->id);
    if (--folder->second.users == 0) Folders().folders.erase(folder);
}

void CacheFolderUse::Mark(const std::wstring& cacheFolder, const std::wstring& fileName) {
    const std::string folder = zrtl::ToUtf8(cacheFolder);
    Id id;
    if (!FindId(folder, &id)) return;
    const long long byte = detail::FolderLocks::ByteOf(zrtl::ToUtf8(fileName));
    const auto mark = [&] {
        const std::lock_guard guard(Folders().mutex);
        return Folders().folders[id].locks.Mark(LockFileIn(folder), byte);
    };
    // Another process removes the file. Only this thread waits: another thread of this process may
    // have to end a removal that the other process waits for.
    std::optional<detail::RemovalWait> wait;
    while (!mark()) wait.emplace(LockFileIn(folder), byte);
}

bool CacheFolderUse::IsMarked(const std::wstring& cacheFolder, const std::wstring& fileName) {
    Id id;
    if (!FindId(zrtl::ToUtf8(cacheFolder), &id)) return false;
    const long long byte = detail::FolderLocks::ByteOf(zrtl::ToUtf8(fileName));
    const std::lock_guard guard(Folders().mutex);
    const auto folder = Folders().folders.find(id);
    return folder != Folders().folders.end() && folder->second.locks.IsMarked(byte);
}

bool CacheFolderUse::HasLocks(const std::wstring& cacheFolder) {
    return detail::FolderLocks::AreSupported(LockFileIn(zrtl::ToUtf8(cacheFolder)));
}

struct CacheFileRemoval::Lock {
    Id folder;
    long long byte = 0;
};

CacheFileRemoval::CacheFileRemoval(const std::wstring& cacheFolder, const std::wstring& fileName) {
    const std::string folder = zrtl::ToUtf8(cacheFolder);
    const std::string name = zrtl::ToUtf8(fileName);
    if (name == CacheFolderUse::LOCK_FILE) return;
    isAllowed_ = true;
    Id id;
    if (!FindId(folder, &id)) return;
    const long long byte = detail::FolderLocks::ByteOf(name);
    const std::lock_guard guard(Folders().mutex);
    isAllowed_ = Folders().folders[id].locks.BeginRemoval(LockFileIn(folder), byte);
    if (isAllowed_) lock_ = std::make_unique<Lock>(Lock{id, byte});
}

CacheFileRemoval::~CacheFileRemoval() {
    Release();
}

CacheFileRemoval::CacheFileRemoval(CacheFileRemoval&& other) noexcept
    : lock_(std::move(other.lock_)), isAllowed_(other.isAllowed_) {}

CacheFileRemoval& CacheFileRemoval::operator=(CacheFileRemoval&& other) noexcept {
    if (this == &other) return *this;
    Release();
    lock_ = std::move(other.lock_);
    isAllowed_ = other.isAllowed_;
    return *this;
}

void CacheFileRemoval::Release() {
    if (lock_ == nullptr) return;
    const std::lock_guard guard(Folders().mutex);
    const auto folder = Folders().folders.find(lock_->folder);
    if (folder != Folders().folders.end()) folder->second.locks.EndRemoval(lock_->byte);
    lock_.reset();
}

}  // namespace orlo::sonrel
