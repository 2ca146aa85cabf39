// SPDX-License-Identifier: MIT
#include "sonrel/media/input/ReadObserver.h"

#include <utility>

#include "sonrel/media/input/ReadMonitor.h"
#include "sonrel/media/input/ThreadScopes.h"

namespace zrh::media {
namespace detail {

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

}  // namespace detail

ReadObserver::ReadObserver(Function function)
    : monitor_(std::make_shared<detail::ReadMonitor>(std::move(function))),
      outer_(std::exchange(detail::ThreadScopes::Current().readMonitor, monitor_)) {}

ReadObserver::~ReadObserver() {
    detail::ThreadScopes::Current().readMonitor = outer_;
    monitor_->End();
}

std::string ReadObserver::Failure() const {
    return monitor_->Failure();
}

}  // namespace zrh::media
