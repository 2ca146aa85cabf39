// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <map>
#include <string>

namespace orlo::sonrel::detail {

/// The locks of this process on the bytes of one lock file, all with one descriptor: a shared lock
/// on a marked byte, an exclusive lock during the removal of a file with that byte.
///
/// Threads: one at a time.
class FolderLocks {
public:
    FolderLocks() = default;
    ~FolderLocks();
    FolderLocks(const FolderLocks&) = delete;
    FolderLocks& operator=(const FolderLocks&) = delete;

    /// The byte of a file name, below 16384. The kernel searches a list of all locks for each lock:
    /// 20,000 locks take it 9 seconds.
    static long long ByteOf(const std::string& fileName);

    /// Marks a byte. Does not wait. Other processes do not see the mark if the file cannot be
    /// opened or locked.
    /// @param lockFile  made if it does not exist
    /// @return false when another process removes a file with that byte
    bool Mark(const std::string& lockFile, long long byte);
    /// Whether this process has marked a byte.
    bool IsMarked(long long byte) const;
    /// @return false when another process has marked the byte or the lock file cannot be opened
    bool BeginRemoval(const std::string& lockFile, long long byte);
    void EndRemoval(long long byte);

    /// Whether the lock file exists or can be made, and its file system has locks.
    static bool AreSupported(const std::string& lockFile);

private:
    struct Use {
        bool isMarked = false;
        int removals = 0;
    };

    bool Open(const std::string& lockFile);
    void DropLocksOfParent();
    bool Lock(int command, short type, long long byte) const;
    bool IsFree(long long byte) const;

    int descriptor_ = -1;
    pid_t process_ = -1;
    std::map<long long, Use> uses_;
};

/// Waits until no other process removes a file with a byte, and prevents such removals during the
/// lifetime of the object. It has its own descriptor: FolderLocks remains usable meanwhile.
class RemovalWait {
public:
    RemovalWait(const std::string& lockFile, long long byte);
    ~RemovalWait();
    RemovalWait(const RemovalWait&) = delete;
    RemovalWait& operator=(const RemovalWait&) = delete;

private:
    int descriptor_;
};

}  // namespace orlo::sonrel::detail
