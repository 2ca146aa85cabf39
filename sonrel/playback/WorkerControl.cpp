// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/WorkerControl.h"

#include <utility>

namespace orlo::sonrel::detail {

void WorkerControl::Reset() {
    const std::lock_guard guard(mutex_);
    stop_ = flushRequested_ = flushTaken_ = parked_ = flushEnded_ = false;
}

void WorkerControl::Stop() {
    const std::lock_guard guard(mutex_);
    stop_ = true;
    mayResume_.Signal();
}

void WorkerControl::RequestFlush() {
    const std::lock_guard guard(mutex_);
    flushEnded_ = false;
    // The signal of an earlier flush that was given up.
    hasParked_.Reset();
    // A worker that has taken the request of a flush that was given up parks for this one.
    if (!flushTaken_) flushRequested_ = true;
}

void WorkerControl::EndFlush() {
    const std::lock_guard guard(mutex_);
    if (!parked_) flushEnded_ = true;
    parked_ = false;
    mayResume_.Signal();
}

WorkerControl::Request WorkerControl::Take() {
    const std::lock_guard guard(mutex_);
    if (std::exchange(flushRequested_, false)) {
        flushTaken_ = true;
        return Request::Flush;
    }
    return std::exchange(stop_, false) ? Request::Stop : Request::None;
}

bool WorkerControl::Park() {
    std::unique_lock lock(mutex_);
    flushTaken_ = false;
    if (std::exchange(flushEnded_, false)) return true;
    parked_ = true;
    hasParked_.Signal();
    while (parked_ && !stop_) {
        lock.unlock();
        mayResume_.Wait();
        lock.lock();
    }
    if (!parked_) return true;
    parked_ = stop_ = false;
    return false;
}

bool WorkerControl::StopIsRequested() const {
    const std::lock_guard guard(mutex_);
    return stop_;
}

bool WorkerControl::TakeStop() {
    const std::lock_guard guard(mutex_);
    return std::exchange(stop_, false);
}

}  // namespace orlo::sonrel::detail
