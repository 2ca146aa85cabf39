// SPDX-License-Identifier: MIT
#include "sonrel/media/input/InterruptScope.h"

#include <utility>

#include "sonrel/media/input/InterruptFlag.h"

namespace zrh::media {
namespace detail {
namespace {

thread_local std::shared_ptr<InterruptFlag> innermost;

}  // namespace

std::shared_ptr<InterruptFlag> InterruptFlag::OfThisThread() {
    return innermost;
}

bool InterruptFlag::Ask() {
    if (set_) return true;
    const std::lock_guard lock(mutex_);
    if (function_ && function_()) set_ = true;
    return set_;
}

void InterruptFlag::End() {
    const std::lock_guard lock(mutex_);
    function_ = nullptr;
}

}  // namespace detail

InterruptScope::InterruptScope(Function isInterrupted)
    : flag_(std::make_shared<detail::InterruptFlag>(std::move(isInterrupted))),
      outer_(std::exchange(detail::innermost, flag_)) {}

InterruptScope::~InterruptScope() {
    detail::innermost = outer_;
    flag_->End();
}

}  // namespace zrh::media
