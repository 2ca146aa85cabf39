// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

/// The files of a cache folder that are in use, for the processes that share the folder.
///
/// A process marks a cache file before it writes or opens the file. A mark is a shared lock on one
/// byte of LOCK_FILE in the folder; the kernel releases it when the process ends. The engine marks
/// every file that it finds or makes, and does not remove a file that another process has marked.
/// Marks of the own process keep no file.
///
/// A byte is derived from the name of a file, and two names may have the same byte. A file counts
/// as used while another file of its byte is used. Where the file system has no locks, or LOCK_FILE
/// cannot be made, no file counts as used; where LOCK_FILE exists and cannot be opened, every file
/// does. LOCK_FILE gets the permissions of its folder to read and write, so that the users of a
/// shared folder see each other. A forked process without exec shares the marks of its parent until
/// it uses a cache folder itself.
///
/// Threads: any, at once.
class SONREL_EXPORT CacheFolderUse {
public:
    /// The name of the lock file. It is empty and is never removed.
    static constexpr char LOCK_FILE[] = ".sonrel-in-use";

    /// Keeps the marks in a folder until the last object of this process on the folder is gone.
    /// Marks that are made without an object last until the process ends.
    /// @param cacheFolder  must exist
    explicit CacheFolderUse(const std::wstring& cacheFolder);
    ~CacheFolderUse();
    CacheFolderUse(const CacheFolderUse&) = delete;
    CacheFolderUse& operator=(const CacheFolderUse&) = delete;

    /// Marks a file as used by this process. The file need not exist. Waits while another process
    /// removes a file.
    /// @param fileName  a bare name
    static void Mark(const std::wstring& cacheFolder, const std::wstring& fileName);

    /// Whether marks work in a folder. Makes the lock file where it does not exist.
    static bool HasLocks(const std::wstring& cacheFolder);

private:
    struct FolderId;
    std::unique_ptr<FolderId> folder_;
};

/// The right to remove one cache file, or to find that nobody writes it: while it is held, no other
/// process marks the file.
///
/// Threads: one at a time on one object.
class SONREL_EXPORT CacheFileRemoval {
public:
    /// Asks for the right, and waits for nobody.
    /// @param fileName  a bare name
    CacheFileRemoval(const std::wstring& cacheFolder, const std::wstring& fileName);
    /// Gives the right back.
    ~CacheFileRemoval();
    CacheFileRemoval(CacheFileRemoval&& other) noexcept;
    CacheFileRemoval& operator=(CacheFileRemoval&& other) noexcept;

    /// False when another process uses the file, or when that cannot be seen, and for LOCK_FILE.
    bool IsAllowed() const { return isAllowed_; }

private:
    void GiveBack();

    struct Lock;
    std::unique_ptr<Lock> lock_;
    bool isAllowed_ = false;
};

}  // namespace orlo::sonrel
