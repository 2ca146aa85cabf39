// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/DatabaseHooks.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <utility>

namespace orlo::project {

namespace {

std::mutex clockMutex;
std::function<long long()> testClock;  // guarded by clockMutex
std::atomic<int> busyTimeoutMs = 5000;

}  // namespace

void SetDatabaseClock(std::function<long long()> clock) {
    const std::lock_guard guard(clockMutex);
    testClock = std::move(clock);
}

void SetDatabaseBusyTimeout(int milliseconds) {
    busyTimeoutMs = milliseconds;
}

std::optional<long long> TestDatabaseTime() {
    const std::lock_guard guard(clockMutex);
    return testClock ? std::optional(testClock()) : std::nullopt;
}

long long DatabaseNow() {
    if (const auto time = TestDatabaseTime()) return *time;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
}

int DatabaseBusyTimeout() {
    return busyTimeoutMs;
}

}  // namespace orlo::project
