// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace orlo::sonrel::detail {

/// An auto-reset event that the device's callback thread signals: Signal takes no lock, allocates
/// nothing and never waits.
///
/// Threads: one waits, any signal.
class AutoResetEvent {
public:
    void Signal() {
        signalled_.store(1);
        signalled_.notify_one();
    }
    /// Waits until the event is signalled, and takes it.
    void Wait() {
        while (signalled_.exchange(0) == 0) signalled_.wait(0);
    }

private:
    static_assert(std::atomic<int>::is_always_lock_free);

    std::atomic<int> signalled_ = 0;
};

}  // namespace orlo::sonrel::detail
