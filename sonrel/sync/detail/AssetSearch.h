// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/detail/ReferenceSegments.h"

namespace orlo::sonrel::detail {

/// One search of a reference in a long recording.
struct SearchSetting {
    const AudioMixer& mixer;
    std::shared_ptr<project::MediaAsset> longRecording;
    const ReferenceSet& reference;
    bool swapped = false;  ///< the reference is the caller's second recording
    const std::atomic<bool>* cancel = nullptr;

    bool Cancelled() const { return cancel != nullptr && cancel->load(); }
};

/// The offset of a match that a block of the long recording gave. It lies one frame beyond the true
/// one: the block is searched with rate - 1 zeros before it, and the sum counts a whole rate.
/// @param joined    the lag within the block's transform
/// @param position  first frame of the block
inline long long CoarseOffset(int rate, long long joined, long long segmentStart,
                              long long position) {
    return rate - joined + (segmentStart - position);
}

/// The offset after measuring in place, where the segment was looked for at its coarse position.
/// The lag found there is added, so that the frame by which the coarse offset errs counts twice:
/// the answer lies two frames beyond the true offset. Callers that need the exact one compare
/// ranges.
inline long long RefinedOffset(long long coarse, long long lag, bool swapped) {
    return swapped ? -(coarse + lag) : coarse + lag;
}

/// Calls the progress of a search; an empty function is passed over.
class SearchProgress {
public:
    SearchProgress(const std::function<void(int, int)>& report, int total)
        : report_(report), total_(total) {}

    void Begin() const { Report(0); }
    void Step() { Report(++done_); }
    void End() const { Report(total_); }

private:
    void Report(int done) const {
        if (report_) report_(done, total_);
    }

    const std::function<void(int, int)>& report_;
    int total_;
    int done_ = 0;
};

/// Steps that a search of @p longCount frames reports: a tenth more than there are, so that the end
/// is not reached before it is there.
int ProgressTotal(long long longCount, int blockSize, std::size_t segmentCount);

/// Looks for every segment in every block. @return one result each, in the order of the blocks; the
/// list is empty when the search was cancelled or no block holds a second
std::vector<SearchResult> SearchBlocks(const SearchSetting& setting, SearchProgress& progress);

/// Measures each result once more in place, on its channel. A result whose place cannot be read
/// stays as it is, its sign included.
void RefineCandidates(const SearchSetting& setting, std::vector<SearchResult>& results);

/// The result with the largest correlation; the earliest of equal ones.
const SearchResult& BestOf(const std::vector<SearchResult>& results);

}  // namespace orlo::sonrel::detail
