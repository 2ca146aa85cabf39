// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "sonrel/media/input/InterruptScope.h"

namespace zrh::media::detail {

/// The state shared by an InterruptScope and the files that were opened in it.
///
/// Threads: any.
class InterruptFlag {
public:
    explicit InterruptFlag(InterruptScope::Function function) : function_(std::move(function)) {}

    /// Calls the function, unless it has returned true before.
    /// @return true from the first time that the function returned true
    bool Poll();
    /// Releases the function. The result of Poll does not change after that.
    void End();

private:
    std::atomic<bool> set_{false};
    std::mutex mutex_;
    InterruptScope::Function function_;  // guarded
};

}  // namespace zrh::media::detail
