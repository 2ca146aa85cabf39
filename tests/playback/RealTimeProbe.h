// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace sonrel_tests {

/// Counts what the marked stretches of code allocate, free and lock. A program that has it replaces
/// operator new and delete, and where no sanitizer does so already, the lock of the C library:
/// every lock of the standard library comes through there.
class RealTimeProbe {
public:
    /// Whether locks are counted in this build.
    static const bool COUNTS_LOCKS;

    static std::atomic<int> allocations;  ///< allocations and frees
    static std::atomic<int> locks;

    static void Clear() { allocations = locks = 0; }

    /// Marks the rest of its block on this thread. Not to be nested.
    RealTimeProbe();
    ~RealTimeProbe();
    RealTimeProbe(const RealTimeProbe&) = delete;
    RealTimeProbe& operator=(const RealTimeProbe&) = delete;
};

}  // namespace sonrel_tests
