// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "sonrel/mixer/FailedReads.h"

namespace orlo::sonrel::detail {

/// The failed reads of a mixer: the first one of each conformed file after each mark.
///
/// Threads: any. Only marks, queries and failed reads take the lock; a read that succeeds never
/// comes here.
class FailedReadLog {
public:
    /// Records kept. When there are more, records of earlier marks are dropped, the oldest first;
    /// of the latest mark the first ones stay.
    static constexpr std::size_t MAX_RECORDS = 4096;

    /// Starts a new period. @return the mark, above all marks before
    unsigned long long Mark();
    void Add(FailedRead read);
    /// The first failed read of each file since the mark, in the order in which they happened.
    /// @param mark  0 for all
    std::vector<FailedRead> Since(unsigned long long mark) const;

private:
    struct Record {
        unsigned long long mark;
        FailedRead read;
    };

    mutable std::mutex mutex_;
    unsigned long long mark_ = 0;  // guarded, as the records; theirs never decrease
    std::deque<Record> records_;
};

/// Names the mix block under way in reports of failed reads. Of nested blocks the outermost counts:
/// the block of the timeline that the host asked for.
class RequestBlock {
public:
    RequestBlock(std::optional<long long>& current, long long start)
        : current_(current), isOutermost_(!current) {
        if (isOutermost_) current_ = start;
    }
    ~RequestBlock() {
        if (isOutermost_) current_.reset();
    }
    RequestBlock(const RequestBlock&) = delete;
    RequestBlock& operator=(const RequestBlock&) = delete;

private:
    std::optional<long long>& current_;
    bool isOutermost_;
};

}  // namespace orlo::sonrel::detail
