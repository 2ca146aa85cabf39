// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace sonrel_tests {

/// The faults that a storm has found, each with the command during which it was found.
///
/// Threads: any.
class StormFaults {
public:
    void Begin(int number, const std::string& command) {
        const std::lock_guard guard(mutex_);
        command_ = "command " + std::to_string(number) + ", " + command + ": ";
    }
    void Add(const std::string& fault) {
        const std::lock_guard guard(mutex_);
        if (texts_.size() < MAX_TEXTS) texts_.push_back(command_ + fault);
        ++count_;
    }
    int Count() const { return count_; }
    std::vector<std::string> Texts() const {
        const std::lock_guard guard(mutex_);
        return texts_;
    }

private:
    static constexpr std::size_t MAX_TEXTS = 20;

    mutable std::mutex mutex_;  // guards the texts
    std::string command_;
    std::vector<std::string> texts_;
    std::atomic<int> count_ = 0;
};

}  // namespace sonrel_tests
