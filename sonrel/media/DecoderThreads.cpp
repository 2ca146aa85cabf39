// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/DecoderThreads.h"

#include <sched.h>

#include <algorithm>
#include <mutex>
#include <thread>

namespace zrh::media::detail {
namespace {

/// A shorter stream is converted before a thread has had much effect.
constexpr std::int64_t MIN_SECONDS = 10;

std::mutex usedMutex;
int used = 0;  // guarded by usedMutex

/// The cores of the calling thread.
int Cores() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof(set), &set) == 0) return CPU_COUNT(&set);
    return static_cast<int>(std::thread::hardware_concurrency());
}

}  // namespace

bool IsWorthThreads(std::int64_t frames, int rate) {
    return frames >= MIN_SECONDS * rate && Cores() > 1;
}

DecoderThreads::DecoderThreads(int wanted) {
    const int cores = Cores();
    const std::lock_guard lock(usedMutex);
    const int unused = cores > 1 ? std::max(cores - used, 0) : 0;
    count_ = std::clamp(wanted, 0, unused);
    used += count_;
}

DecoderThreads::~DecoderThreads() {
    const std::lock_guard lock(usedMutex);
    used -= count_;
}

}  // namespace zrh::media::detail
