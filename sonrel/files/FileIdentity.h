// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

/// Identifies a file and its state, to find out whether remembered content is still valid.
namespace orlo::files {

struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modifiedNs = 0;  ///< since 1970
    std::int64_t changedNs = 0;

    auto operator<=>(const FileIdentity&) const = default;
};

inline FileIdentity IdentityOf(const struct stat& status) {
    const auto nanoseconds = [](const timespec& time) {
        return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    };
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::int64_t>(status.st_size), nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim)};
}

/// Returns nanoseconds since 1970, from the clock of file times.
using FileClock = std::int64_t (*)();

inline std::int64_t SystemFileClock() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

/// The clock of IsSettled; a test may replace it.
inline std::atomic<FileClock> fileClock = SystemFileClock;

/// Whether every later change of a file in this state changes its identity. The times of files have
/// steps, of some milliseconds on most file systems and of two seconds on the coarsest, and two
/// writes within one step leave the same time.
inline bool IsSettled(const FileIdentity& identity) {
    constexpr std::int64_t MAX_STEPS_NS = 3'000'000'000;
    return std::max(identity.modifiedNs, identity.changedNs) < fileClock.load()() - MAX_STEPS_NS;
}

}  // namespace orlo::files
