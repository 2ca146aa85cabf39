// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace orlo::sonrel::device {

/// How long a device has to report what a flush has dropped before it is done in its place.
constexpr std::chrono::milliseconds REPORT_GRACE{100};

/// A thread that reports the ends of a flush when the device does not: a device that is lost, or
/// whose callback waits for the very thread that flushed.
///
/// Threads: Expect and WaitUntilIdle on any.
class FlushReporter {
public:
    /// @param report  reports what is left, on the thread of this object
    explicit FlushReporter(std::function<void()> report);
    /// Waits for a report under way and ends the thread; what is expected is given up.
    ~FlushReporter();
    FlushReporter(const FlushReporter&) = delete;
    FlushReporter& operator=(const FlushReporter&) = delete;

    /// Reports when REPORT_GRACE has passed without another call, or at once.
    void Expect(bool atOnce);
    /// Returns when no report is under way. Does not wait on the reporter's own thread.
    void WaitUntilIdle();

private:
    void Run();

    const std::function<void()> report_;
    std::mutex mutex_;  // guards the rest, but the thread
    std::condition_variable changed_;
    bool ending_ = false;
    unsigned int expected_ = 0;  ///< flushes since the last report
    bool atOnce_ = false;
    bool reporting_ = false;
    std::thread thread_;
};

}  // namespace orlo::sonrel::device
