// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/standin/project/detail/ConformedFileLayout.h"

namespace orlo::project {

/// Which file a path led to, and in which state.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    long long size = 0;        ///< bytes
    long long modifiedNs = 0;  ///< since 1970
    long long changedNs = 0;

    bool operator==(const FileStamp&) const = default;
};

FileStamp StampOf(const struct stat& status);

/// Whether a file with this stamp cannot change any more without getting another one. Times of
/// files go in steps, and two writes within one step leave the same time.
bool IsSettled(const FileStamp& stamp);

/// Replaces the clock that IsSettled asks: nanoseconds since 1970. Null brings the system's back.
void SetFileClockForTests(long long (*clock)());

/// Frames of a file that were read before anybody asked for them.
struct ReadAhead {
    long long start = 0;
    std::vector<unsigned char> bytes;

    /// Copies frames that all lie within.
    /// @return false, and nothing is copied, when one lies outside
    bool Copy(long long first, long long count, unsigned char* buffer) const;
};

/// What is known of a conformed file: while it is open, and for a while after.
struct ConformedFileFacts {
    std::wstring path;
    std::string name;  ///< the path in UTF-8
    FileStamp stamp;
    bool isSettled = false;  ///< when the stamp was taken
    ConformedFileLayout layout;
    ReadAhead ahead;  ///< never changed while the file is open: several threads may read
    /// Where the last read ended, and its frames: the next one is likely to go on from there.
    std::atomic<long long> nextFrame{0};
    std::atomic<long long> lastCount{0};

    /// Whether the next read, if it goes on from the last one, finds all its frames ahead.
    bool HoldsNextRead() const;
};

/// Keeps the facts of files that were closed.
///
/// A mix of more streams than there are open files closes and opens one for each block of each
/// stream. From the second time on such a file is read some blocks ahead; as long as the path
/// leads to the same file in the same state, opening it again costs one look at its state.
///
/// Threads: any.
class RecentConformedFiles {
public:
    /// Takes out what was kept of the file that was last closed under a path; null if nothing was.
    static std::unique_ptr<ConformedFileFacts> Take(const std::wstring& path);

    /// Keeps the facts of a closed file, in place of the oldest ones when there are too many. A
    /// file that was written a moment ago could change once more without showing it in its times:
    /// of such a file nothing is kept.
    static void Keep(std::unique_ptr<ConformedFileFacts> facts);
};

}  // namespace orlo::project
