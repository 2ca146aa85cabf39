// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>

#include "sonrel/playback/device/AutoResetEvent.h"

namespace orlo::sonrel::detail {

/// The requests of the command thread to the worker of a run: a stop, and a flush, during which the
/// worker is parked.
///
/// Threads: one worker, one command thread; never the device's, because there is a lock.
class WorkerControl {
public:
    enum class Request { None, Flush, Stop };

    /// Clears every request, including the remains of a flush that was given up. While no worker
    /// runs.
    void Reset();

    /// Requests that the worker leaves.
    void Stop();
    /// Requests that the worker parks.
    void RequestFlush();
    /// @return whether the worker has parked; false after the time limit
    bool WaitUntilParked(std::chrono::milliseconds limit) { return hasParked_.WaitFor(limit); }
    /// Ends the flush: the worker resumes. A worker that has not parked yet still discards its
    /// buffer in hand when it sees the request, but does not wait.
    void EndFlush();

    /// Returns and clears the pending request. A flush takes precedence over a stop. Worker thread
    /// only.
    Request Take();
    /// Parks the worker until the flush has ended. @return false when a stop was requested instead
    bool Park();
    /// Whether a stop is pending. Does not clear it.
    bool StopIsRequested() const;
    /// Returns and clears a pending stop. Worker thread only.
    bool TakeStop();

private:
    mutable std::mutex mutex_;  // guards the flags
    device::AutoResetEvent hasParked_;
    device::AutoResetEvent mayResume_;  // the flush has ended, or a stop was requested
    bool stop_ = false;
    bool flushRequested_ = false;
    bool flushTaken_ = false;  // by the worker, which has not parked yet
    bool parked_ = false;
    bool flushEnded_ = false;  // before the worker has parked
};

}  // namespace orlo::sonrel::detail
