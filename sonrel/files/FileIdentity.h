// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <atomic>
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

inline std::int64_t Nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

inline FileIdentity IdentityOf(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::int64_t>(status.st_size), Nanoseconds(status.st_mtim),
            Nanoseconds(status.st_ctim)};
}

/// Returns nanoseconds since 1970, from the clock of file times.
using FileClock = std::int64_t (*)();

/// The clock by which the system sets the times of files. It advances in ticks of 1 to 10 ms, and
/// is read without a system call.
inline std::int64_t SystemFileClock() {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return Nanoseconds(now);
}

/// The clock of file times; a test may replace it.
inline std::atomic<FileClock> fileClock = SystemFileClock;

/// Whether every later change of a file in this state changes its identity. The times of files have
/// steps, of some milliseconds on most file systems and of two seconds on the coarsest, and two
/// writes within one step leave the same time.
inline bool IsSettled(const FileIdentity& identity) {
    constexpr std::int64_t MAX_STEPS_NS = 3'000'000'000;
    return std::max(identity.modifiedNs, identity.changedNs) < fileClock.load()() - MAX_STEPS_NS;
}

}  // namespace orlo::files
