// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace sonrel_tests {

/// Counts the allocations, frees, locks, waits and file calls of marked code. A program that links
/// it replaces the allocation functions, the locks (mutexes and read-write locks), the waits
/// (conditions, semaphores, futexes, threads, sleeps) and the file calls of the C library, which
/// the standard library uses too. Under a sanitizer, which replaces them itself, only operator new
/// and delete are counted.
class RealTimeProbe {
public:
    /// Whether this build counts more than operator new and delete.
    static const bool COUNTS_EVERYTHING;

    static std::atomic<int> allocations;  ///< allocations and frees
    static std::atomic<int> locks;        ///< locks and attempts to lock
    static std::atomic<int> waits;        ///< of any kind
    static std::atomic<int> fileCalls;    ///< on files, pipes and mappings

    static void Clear() { allocations = locks = waits = fileCalls = 0; }
    static int Sum() { return allocations + locks + waits + fileCalls; }

    /// Marks the rest of its block on this thread. Not to be nested.
    RealTimeProbe();
    ~RealTimeProbe();
    RealTimeProbe(const RealTimeProbe&) = delete;
    RealTimeProbe& operator=(const RealTimeProbe&) = delete;
};

}  // namespace sonrel_tests
