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

/// The offset of a match in a block of the long recording. It is one frame more than the true
/// offset: the block is searched with rate - 1 zeros before it, and the sum adds the whole rate.
/// @param joined    the lag within the block's transform
/// @param position  first frame of the block
inline long long CoarseOffset(int rate, long long joined, long long segmentStart,
                              long long position) {
    return rate - joined + (segmentStart - position);
}

/// The offset after measuring the segment at its coarse position. The lag found there is added and
/// not subtracted, so that the error of one frame of the coarse offset counts twice: the result is
/// two frames more than the true offset. Callers that need the exact offset use CompareRanges.
inline long long RefinedOffset(long long coarse, long long lag, bool swapped) {
    return swapped ? -(coarse + lag) : coarse + lag;
}

/// Calls the progress function of a search; an empty function is not called.
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

/// The total that a search of @p longCount frames reports: a tenth more than its steps, so that the
/// total is not reached before the end.
int ProgressTotal(long long longCount, int blockSize, std::size_t segmentCount);

/// Searches every block for every segment. @return one result for each pair, in the order of the
/// blocks; the list is empty when the search was cancelled or no block has a second
std::vector<SearchResult> SearchBlocks(const SearchSetting& setting, SearchProgress& progress);

/// Measures each result again in place, on its channel. A result whose position cannot be read is
/// not changed, and neither is its sign.
void RefineCandidates(const SearchSetting& setting, std::vector<SearchResult>& results);

/// The result with the largest correlation; of equal results the first.
const SearchResult& BestOf(const std::vector<SearchResult>& results);

}  // namespace orlo::sonrel::detail
