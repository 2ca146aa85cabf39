// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaManager.h"

namespace orlo::project {

MediaManager::MediaManager() = default;
MediaManager::~MediaManager() = default;

ZRCriticalSection& MediaManager::ConformedAudioCacheFileCS(std::wstring const& mediaPath) {
    return LockFor(conformedLocks_, mediaPath);
}

ZRCriticalSection& MediaManager::WaveformPeakFileCS(std::wstring const& mediaPath) {
    return LockFor(peakLocks_, mediaPath);
}

ZRCriticalSection& MediaManager::LockFor(Locks& locks, std::wstring const& mediaPath) {
    const std::lock_guard guard(mutex_);
    std::unique_ptr<ZRCriticalSection>& lock = locks[mediaPath];
    if (!lock) lock = std::make_unique<ZRCriticalSection>();
    return *lock;
}

}  // namespace orlo::project
