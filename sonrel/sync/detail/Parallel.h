// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <future>

namespace orlo::sonrel::detail {

/// Threads that the machine runs at once; 1 where the system does not report it.
unsigned int HardwareConcurrency();

/// Work that is divided over the range 0 to a count: called for each chunk with its first item and
/// its exclusive end.
using ChunkWork = std::function<void(unsigned long long first, unsigned long long end)>;

/// How RunInParallel divides its work and starts it.
struct ChunkPlan {
    unsigned int smallestChunk = 0;                    ///< items; 0: any size
    unsigned int concurrency = HardwareConcurrency();  ///< chunks at most
    /// How tasks start. Deferred tasks run on the calling thread when it waits for them: for work
    /// that takes less time than the start of a thread.
    std::launch launch = std::launch::async | std::launch::deferred;
};

/// Runs @p work over the range 0 to @p count: the last chunk, with the remainder, on the calling
/// thread, and all others as tasks. Returns when all have finished.
///
/// When a chunk throws, the exception leaves after all tasks have finished: that of the last chunk,
/// otherwise that of the first task that failed.
void RunInParallel(unsigned long long count, const ChunkWork& work, const ChunkPlan& plan);

/// The same with the concurrency of the machine.
/// @param smallestChunk  items of a chunk at least, unless @p count is smaller
void RunInParallel(unsigned long long count, const ChunkWork& work, unsigned int smallestChunk);

}  // namespace orlo::sonrel::detail
