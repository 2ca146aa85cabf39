// SPDX-License-Identifier: MIT
#include "host/process/InParallel.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "host/shell/Interrupt.h"

namespace orlo::host {

namespace {

/// The calls of one InParallel.
class Calls {
public:
    Calls(std::size_t count, const std::function<void(std::size_t)>& work)
        : end_(count), work_(work) {}

    void Run() {
        while (const auto number = Claim()) {
            try {
                work_(*number);
            } catch (...) {
                Fail(*number);
            }
        }
    }

    void RethrowFailure() const {
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    std::optional<std::size_t> Claim() {
        const std::lock_guard lock(mutex_);
        return next_ < end_ ? std::optional(next_++) : std::nullopt;
    }

    /// All lower numbers have begun.
    void Fail(std::size_t number) {
        const std::lock_guard lock(mutex_);
        if (number >= end_) return;
        end_ = number;
        failure_ = std::current_exception();
    }

    std::mutex mutex_;
    std::size_t next_ = 0;
    std::size_t end_;
    std::exception_ptr failure_;
    const std::function<void(std::size_t)>& work_;
};

}  // namespace

void InParallel(std::size_t count, int jobs, const std::function<void(std::size_t)>& work) {
    Calls calls(count, work);
    std::atomic<bool>* const interrupted = InterruptFlag();
    {
        std::vector<std::jthread> helpers;
        const auto threads = static_cast<std::size_t>(std::max(1, jobs));
        try {
            while (helpers.size() + 1 < std::min(count, threads)) {
                helpers.emplace_back([&calls, interrupted] {
                    const InterruptFlagScope flag(interrupted);
                    calls.Run();
                });
            }
        } catch (const std::system_error&) {
            // A system that refuses some of the threads makes the work slower only.
        }
        calls.Run();
    }
    calls.RethrowFailure();
}

}  // namespace orlo::host
