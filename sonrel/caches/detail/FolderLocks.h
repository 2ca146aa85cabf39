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

    /// @param lockFile  made where it does not exist
    void Mark(const std::string& lockFile, long long byte);
    /// @return false when another process has the byte marked
    bool BeginRemoval(const std::string& lockFile, long long byte);
    void EndRemoval(long long byte);

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

}  // namespace orlo::sonrel::detail
