// SPDX-License-Identifier: MIT
#include "sonrel/media/input/ReadObserver.h"

#include <utility>

#include "sonrel/media/input/ReadMonitor.h"

namespace zrh::media {
namespace detail {
namespace {

thread_local std::shared_ptr<ReadMonitor> innermost;

}  // namespace

void ReadMonitor::Add(long long frames) {
    const std::lock_guard lock(mutex_);
    frames_ += frames;
    if (!cancelled_ && function_ && !function_(frames_)) cancelled_ = true;
    if (cancelled_) throw ReadCancelled();
}

void ReadMonitor::NoteFailure(const std::string& clause) {
    const std::lock_guard lock(mutex_);
    if (ended_ || failed_) return;
    failure_ = clause;
    failed_ = true;
}

std::string ReadMonitor::Failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
}

void ReadMonitor::End() {
    const std::lock_guard lock(mutex_);
    function_ = nullptr;
    ended_ = true;
    failed_ = false;
}

std::shared_ptr<ReadMonitor> ReadMonitor::OfThisThread() {
    return innermost;
}

}  // namespace detail

ReadObserver::ReadObserver(Function function)
    : watch_(std::make_shared<detail::ReadMonitor>(std::move(function))),
      outer_(std::exchange(detail::innermost, watch_)) {}

ReadObserver::~ReadObserver() {
    detail::innermost = outer_;
    watch_->End();
}

std::string ReadObserver::Failure() const {
    return watch_->Failure();
}

}  // namespace zrh::media
