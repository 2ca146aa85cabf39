// SPDX-License-Identifier: MIT
#include "sonrel/project/MediaManager.h"

#include <map>
#include <mutex>

namespace orlo::project {

namespace {

/// The locks of one kind of cache file.
class LocksByPath {
public:
    ZRCriticalSection& LockOf(std::wstring const& mediaPath) {
        const std::lock_guard guard(mutex_);
        std::unique_ptr<ZRCriticalSection>& lock = locks_[mediaPath];
        if (!lock) lock = std::make_unique<ZRCriticalSection>();
        return *lock;
    }

private:
    std::mutex mutex_;
    std::map<std::wstring, std::unique_ptr<ZRCriticalSection>> locks_;
};

}  // namespace

struct MediaManagerImpl {
    LocksByPath conformed;
    LocksByPath peak;
};

MediaManager::MediaManager() : impl_(std::make_unique<MediaManagerImpl>()) {}
MediaManager::~MediaManager() = default;

ZRCriticalSection& MediaManager::ConformedAudioCacheFileCS(std::wstring const& mediaPath) {
    return impl_->conformed.LockOf(mediaPath);
}

ZRCriticalSection& MediaManager::WaveformPeakFileCS(std::wstring const& mediaPath) {
    return impl_->peak.LockOf(mediaPath);
}

}  // namespace orlo::project
