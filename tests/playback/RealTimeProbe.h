// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace sonrel_tests {

/// Counts what the marked stretches of code allocate, free, lock and wait for, and their file
/// calls. A program that has it replaces the allocation functions, the locks (mutexes and
/// read-write locks), the waits (conditions, semaphores, futexes, threads, sleeps) and the calls on
/// files of the C library, through which those of the standard library come. Under a sanitizer,
/// which replaces them itself, only operator new and delete are counted.
class RealTimeProbe {
public:
    /// Whether this build counts more than operator new and delete.
    static const bool COUNTS_EVERYTHING;

    static std::atomic<int> allocations;  ///< allocations and frees
    static std::atomic<int> locks;        ///< locks and attempts to lock
    static std::atomic<int> waits;        ///< whatever they wait for
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
