// SPDX-License-Identifier: MIT
#include "sonrel/media/input/InterruptScope.h"

#include <utility>

#include "sonrel/media/input/InterruptFlag.h"
#include "sonrel/media/input/ThreadScopes.h"

namespace zrh::media {
namespace detail {
bool InterruptFlag::Poll() {
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
      outer_(std::exchange(detail::ThreadScopes::Current().interrupt, flag_)) {}

InterruptScope::~InterruptScope() {
    detail::ThreadScopes::Current().interrupt = outer_;
    flag_->End();
}

}  // namespace zrh::media
