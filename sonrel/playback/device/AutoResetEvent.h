// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace orlo::sonrel::device {

/// An event that one wait takes, with a time-out. Any number of signals before a wait count as one.
///
/// Playback waits in two ways. Where a callback of the device is the other side, CallbackSignal
/// keeps the callback free of locks. Everywhere else it is this event.
///
/// Threads: any; a callback of the device never signals, because there is a lock.
class AutoResetEvent {
public:
    using Clock = std::chrono::steady_clock;

    void Signal() {
        {
            const std::lock_guard guard(mutex_);
            signalled_ = true;
        }
        changed_.notify_one();
    }
    /// Takes the signal back.
    void Reset() {
        const std::lock_guard guard(mutex_);
        signalled_ = false;
    }
    /// Waits for a signal and takes it.
    void Wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return signalled_; });
        signalled_ = false;
    }
    /// Waits until a time at most. @return whether a signal came, which is taken
    bool WaitUntil(Clock::time_point deadline) {
        std::unique_lock lock(mutex_);
        const bool came = changed_.wait_until(lock, deadline, [this] { return signalled_; });
        signalled_ = false;
        return came;
    }
    /// Waits at most as long. A timeout of 0 tests the event.
    bool WaitFor(std::chrono::milliseconds timeout) { return WaitUntil(Clock::now() + timeout); }

private:
    std::mutex mutex_;  // guards the signal
    std::condition_variable changed_;
    bool signalled_ = false;
};

}  // namespace orlo::sonrel::device
