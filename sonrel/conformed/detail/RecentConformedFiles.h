// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/conformed/detail/ConformedAudioFileImpl.h"

namespace orlo::project {

/// Stores the headers and identities of files that were closed.
///
/// A mix of more streams than there are open files closes and opens one file for each block of each
/// stream. From the third time on such a file is read some blocks ahead. As long as the path leads
/// to the same file in the same state, opening it again costs one check of its state.
///
/// Threads: any. Each thread has separate records: several mixers on several threads read the same
/// files at different positions, and the frames that one of them has ahead are useless to the
/// others.
class RecentConformedFiles {
public:
    /// Removes and returns the record of a path that this thread kept; null without one.
    static std::unique_ptr<ConformedAudioFileImpl> Take(const std::wstring& path);

    /// The number of records that this thread keeps.
    static int Count();

    /// Keeps the record of a closed file, and drops the oldest record when there are too many. A
    /// file that was written a moment ago could change once more without a change of its times: its
    /// record is not kept.
    static void Keep(std::unique_ptr<ConformedAudioFileImpl> file);
};

}  // namespace orlo::project
