// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "sonrel/playback/device/AutoResetEvent.h"
#include "sonrel/playback/device/CallbackSignal.h"

namespace orlo::sonrel::device {

/// The time that a device has to report the buffers that a flush has dropped.
constexpr std::chrono::milliseconds REPORT_GRACE{100};

/// A thread that reports the ends of a flush when the device does not: a lost device, or a device
/// whose callback waits for the thread that flushed.
///
/// Threads: Expect and WaitUntilIdle on any.
class FlushReporter {
public:
    /// @param report  reports the remaining ends, on the thread of this object
    explicit FlushReporter(std::function<void()> report);
    /// Waits for a report under way and ends the thread. Expected reports are given up.
    ~FlushReporter();
    FlushReporter(const FlushReporter&) = delete;
    FlushReporter& operator=(const FlushReporter&) = delete;

    /// Reports when REPORT_GRACE has passed without another call, or at once.
    void Expect(bool atOnce);
    /// Returns when no report is under way. Does not wait on the reporter's own thread.
    void WaitUntilIdle() const { reporting_.WaitUntilLeft(); }

private:
    void Run();

    const std::function<void()> report_;
    AutoResetEvent changed_;
    std::atomic<bool> ending_ = false;
    std::atomic<bool> atOnce_ = false;
    CallbackGate reporting_;
    std::thread thread_;
};

}  // namespace orlo::sonrel::device
