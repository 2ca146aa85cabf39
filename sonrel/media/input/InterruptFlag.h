// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "sonrel/media/input/InterruptScope.h"

namespace zrh::media::detail {

/// The state that a scope and the files opened in it share.
///
/// Threads: any.
class InterruptFlag {
public:
    explicit InterruptFlag(InterruptScope::Function function) : function_(std::move(function)) {}

    /// Calls the function, unless it has returned true before.
    /// @return true once the function has returned true
    bool Ask();
    /// Releases the function. The answer stays as it is from then on.
    void End();

private:
    std::atomic<bool> set_{false};
    std::mutex mutex_;
    InterruptScope::Function function_;  // guarded
};

}  // namespace zrh::media::detail
