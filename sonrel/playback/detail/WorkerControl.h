// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace orlo::sonrel::detail {

/// What the command thread and the worker of a run tell each other: stop, and the handshake of a
/// flush, during which the worker stands still.
///
/// Threads: one worker, one command thread; never the device's, for there is a lock.
class WorkerControl {
public:
    enum class Request { None, Flush, Stop };

    /// Forgets everything, what a flush that was given up has left included. While no worker runs.
    void Reset();

    /// Tells the worker to leave.
    void Stop();
    /// Asks the worker to stand still.
    void RequestFlush();
    /// @return whether the worker stands still; false when it did not in time
    bool WaitUntilParked(std::chrono::milliseconds limit);
    /// Ends the flush: the worker goes on. One that has not stood still yet drops the buffer in
    /// hand all the same when it sees the request, but does not wait.
    void EndFlush();

    /// The worker's test of what is asked of it. It takes the request away. A flush goes before a
    /// stop.
    Request Take();
    /// The worker stands still until the flush has ended. @return false when it is to leave instead
    bool Park();
    /// Whether the worker is to leave, without taking that away.
    bool StopIsRequested() const;
    /// The worker's test for a stop alone. @return whether it is to leave
    bool TakeStop();

private:
    mutable std::mutex mutex_;  // guards all
    std::condition_variable changed_;
    bool stop_ = false;
    bool flushRequested_ = false;
    bool flushTaken_ = false;  // by the worker, which has not parked yet
    bool parked_ = false;
    bool flushEnded_ = false;  // before the worker has parked
};

}  // namespace orlo::sonrel::detail
