// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/files/FileIdentity.h"

namespace orlo::project {

/// Frames of a file that were read before anybody asked for them.
struct ReadAhead {
    long long start = 0;
    std::vector<unsigned char> bytes;

    /// Copies frames that all lie within.
    /// @return false, and nothing is copied, when one lies outside
    bool Copy(long long first, long long count, unsigned char* buffer) const;
};

/// What is known of a conformed file: while it is open, and for a while after.
struct ConformedFileInfo {
    std::wstring path;
    std::string name;  ///< the path in UTF-8
    files::FileIdentity identity;
    bool isSettled = false;  ///< when the identity was taken
    ConformedFileLayout layout;
    ReadAhead ahead;  ///< never changed while the file is open: several threads may read
    /// Where the last read ended, and its frames: the next one is likely to go on from there.
    std::atomic<long long> nextFrame{0};
    std::atomic<long long> lastCount{0};

    /// Whether the next read, if it goes on from the last one, finds all its frames ahead. False
    /// when nothing was read yet and when nothing is left.
    bool HoldsNextRead() const;
};

/// Keeps the info of files that were closed.
///
/// A mix of more streams than there are open files closes and opens one for each block of each
/// stream. From the second time on such a file is read some blocks ahead; as long as the path
/// leads to the same file in the same state, opening it again costs one look at its state.
///
/// Threads: any.
class RecentConformedFiles {
public:
    /// Takes out what was kept of a file that was closed under a path; null if nothing was.
    static std::unique_ptr<ConformedFileInfo> Take(const std::wstring& path);

    /// Keeps the info of a closed file, in place of the oldest ones when there are too many. A
    /// file that was written a moment ago could change once more without showing it in its times:
    /// of such a file nothing is kept.
    static void Keep(std::unique_ptr<ConformedFileInfo> info);
};

}  // namespace orlo::project
