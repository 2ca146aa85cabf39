// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <map>
#include <string>

namespace orlo::sonrel::detail {

/// The locks that this process holds on the bytes of one lock file, all through one descriptor: a
/// shared lock for a byte that is marked, an exclusive lock while a file of the byte is removed.
///
/// Threads: one at a time.
class FolderLocks {
public:
    FolderLocks() = default;
    ~FolderLocks();
    FolderLocks(const FolderLocks&) = delete;
    FolderLocks& operator=(const FolderLocks&) = delete;

    /// The byte of a file name, below 16384. More bytes would make the kernel's list of locks,
    /// which each lock walks, long: 20,000 locks take it 9 seconds.
    static long long ByteOf(const std::string& fileName);

    /// Marks a byte. Waits for nobody. Where the file cannot be opened or locked, marks nothing.
    /// @param lockFile  made where it does not exist
    /// @return false when another process removes a file of the byte
    bool Mark(const std::string& lockFile, long long byte);
    /// @return false when another process has the byte marked, or the marks in the lock file cannot
    ///         be seen
    bool BeginRemoval(const std::string& lockFile, long long byte);
    void EndRemoval(long long byte);

    /// Whether a folder has a lock file, or can get one, and its file system has locks.
    static bool AreSupported(const std::string& lockFile);

private:
    struct Use {
        bool isMarked = false;
        int removals = 0;
    };

    bool Open(const std::string& lockFile);
    void ForgetParent();
    bool Lock(int command, short type, long long byte) const;
    bool IsFree(long long byte) const;

    int descriptor_ = -1;
    pid_t process_ = -1;
    std::map<long long, Use> uses_;
};

/// Waits until no other process removes a file of a byte, and keeps others from removing one while
/// the object lives. It has its own open file: the locks of a FolderLocks stay free meanwhile.
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
