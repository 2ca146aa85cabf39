// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

/// Marks the files of a cache folder that are in use, for the processes that share the folder.
///
/// A process marks a cache file before it writes or opens the file. A mark is a shared lock on one
/// byte of LOCK_FILE in the folder; the kernel releases it when the process ends. The engine marks
/// every file that it finds or makes, and does not remove a file that another process has marked.
/// The marks of a process do not protect a file from the process itself.
///
/// The byte is derived from the name of the file, and two names may have the same byte. A file
/// counts as used while another file with its byte is used. If the file system has no locks, or
/// LOCK_FILE cannot be made, no file counts as used. If LOCK_FILE exists and cannot be opened,
/// every file counts as used. LOCK_FILE gets the read and write permissions of its folder, so that
/// the users of a shared folder see each other's marks. A forked process without exec shares the
/// marks of its parent until it uses a cache folder itself.
///
/// Threads: any number at the same time.
class SONREL_EXPORT CacheFolderUse {
public:
    /// The name of the lock file. It is empty and is never removed.
    static constexpr char LOCK_FILE[] = ".sonrel-in-use";

    /// Keeps the marks in a folder until this process destroys its last object for the folder.
    /// Marks without an object last until the process ends.
    /// @param cacheFolder  must exist
    explicit CacheFolderUse(const std::wstring& cacheFolder);
    ~CacheFolderUse();
    CacheFolderUse(const CacheFolderUse&) = delete;
    CacheFolderUse& operator=(const CacheFolderUse&) = delete;

    /// Marks a file as used by this process. The file need not exist. Waits while another process
    /// removes the file.
    /// @param fileName  a bare name
    static void Mark(const std::wstring& cacheFolder, const std::wstring& fileName);

    /// Whether this process has marked a file, or a file with the same byte.
    static bool IsMarked(const std::wstring& cacheFolder, const std::wstring& fileName);

    /// Whether marks work in a folder. Makes the lock file if it does not exist.
    static bool HasLocks(const std::wstring& cacheFolder);

private:
    struct FolderId;
    std::unique_ptr<FolderId> folder_;
};

/// The right to remove one cache file. While it is held, no other process marks the file, so that
/// nobody uses or writes it.
///
/// Threads: one at a time on one object.
class SONREL_EXPORT CacheFileRemoval {
public:
    /// Requests the right. Does not wait.
    /// @param fileName  a bare name
    CacheFileRemoval(const std::wstring& cacheFolder, const std::wstring& fileName);
    /// Releases the right.
    ~CacheFileRemoval();
    CacheFileRemoval(CacheFileRemoval&& other) noexcept;             ///< takes over the right
    CacheFileRemoval& operator=(CacheFileRemoval&& other) noexcept;  ///< takes over the right

    /// False when another process uses the file, when its use cannot be determined, and for
    /// LOCK_FILE.
    bool IsAllowed() const { return isAllowed_; }

private:
    void Release();

    struct Lock;
    std::unique_ptr<Lock> lock_;
    bool isAllowed_ = false;
};

}  // namespace orlo::sonrel
