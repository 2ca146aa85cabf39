// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/FlushReporter.h"

#include <utility>

namespace orlo::sonrel::device {

FlushReporter::FlushReporter(std::function<void()> report)
    : report_(std::move(report)), thread_([this] { Run(); }) {}

FlushReporter::~FlushReporter() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void FlushReporter::Expect(bool atOnce) {
    {
        const std::lock_guard lock(mutex_);
        ++expected_;
        atOnce_ = atOnce_ || atOnce;
    }
    changed_.notify_all();
}

void FlushReporter::WaitUntilIdle() {
    if (std::this_thread::get_id() == thread_.get_id()) return;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !reporting_; });
}

void FlushReporter::Run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ending_ || expected_ > 0; });
        // The device has its time for the last flush too.
        unsigned int seen = 0;
        while (seen != expected_ && !ending_ && !atOnce_) {
            seen = expected_;
            changed_.wait_for(lock, REPORT_GRACE,
                              [&] { return ending_ || atOnce_ || expected_ != seen; });
        }
        if (ending_) return;
        expected_ = 0;
        atOnce_ = false;
        reporting_ = true;
        lock.unlock();
        report_();
        lock.lock();
        reporting_ = false;
        changed_.notify_all();
    }
}

}  // namespace orlo::sonrel::device
