// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <future>

namespace orlo::sonrel::detail {

/// Threads that the machine runs at once; 1 where it does not say.
unsigned int HardwareConcurrency();

/// Work that is divided over the range 0 to a count: called with the first item of a chunk and the
/// one behind its last.
using ChunkWork = std::function<void(unsigned long long first, unsigned long long end)>;

/// How RunInParallel divides its work and starts it.
struct ChunkPlan {
    unsigned int smallestChunk = 0;                    ///< items; 0: any size
    unsigned int concurrency = HardwareConcurrency();  ///< chunks at most
    /// How tasks start. Deferred ones run on the caller's thread when it waits for them: for work
    /// that is over sooner than a thread starts.
    std::launch launch = std::launch::async | std::launch::deferred;
};

/// Runs @p work over the range 0 to @p count: all chunks but the last as tasks, the last one, with
/// all that remains, on the calling thread. Returns when all are done.
///
/// An exception of the calling thread's own chunk, else of the first task that failed, passes up
/// when no task runs any more.
void RunInParallel(unsigned long long count, const ChunkWork& work, const ChunkPlan& plan);

/// The same with the machine's own concurrency.
/// @param smallestChunk  items that no chunk falls below, but for a smaller @p count
void RunInParallel(unsigned long long count, const ChunkWork& work, unsigned int smallestChunk);

}  // namespace orlo::sonrel::detail
