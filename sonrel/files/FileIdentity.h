// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

/// Which file a path led to, and in which state: for what is remembered of a file's content.
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

/// Nanoseconds since 1970 by the clock that files are dated with.
using FileClock = std::int64_t (*)();

inline std::int64_t SystemFileClock() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

/// The clock that IsSettled asks; a test may put its own in its place.
inline std::atomic<FileClock> fileClock = SystemFileClock;

/// Whether a file that was just found in this state cannot change any more without its identity
/// telling. The times of files go in steps, of some milliseconds on most file systems and of two
/// seconds on the coarsest, and two writes within one step leave the same time.
inline bool IsSettled(const FileIdentity& identity) {
    constexpr std::int64_t MAX_STEPS_NS = 3'000'000'000;
    return std::max(identity.modifiedNs, identity.changedNs) < fileClock.load()() - MAX_STEPS_NS;
}

}  // namespace orlo::files
