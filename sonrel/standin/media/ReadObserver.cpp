// SPDX-License-Identifier: MIT
#include "sonrel/standin/media/ReadObserver.h"

#include <utility>

#include "sonrel/standin/media/detail/ReadWatch.h"

namespace zrh::media {
namespace detail {
namespace {

thread_local std::shared_ptr<ReadWatch> innermost;

}  // namespace

void ReadWatch::Add(long long frames) {
    const std::lock_guard lock(mutex_);
    frames_ += frames;
    if (!cancelled_ && function_ && !function_(frames_)) cancelled_ = true;
    if (cancelled_) throw ReadCancelled();
}

void ReadWatch::End() {
    const std::lock_guard lock(mutex_);
    function_ = nullptr;
}

ReadTally::ReadTally() : watch_(innermost) {}

}  // namespace detail

ReadObserver::ReadObserver(Function function)
    : watch_(std::make_shared<detail::ReadWatch>(std::move(function))),
      outer_(std::exchange(detail::innermost, watch_)) {}

ReadObserver::~ReadObserver() {
    detail::innermost = outer_;
    watch_->End();
}

}  // namespace zrh::media
