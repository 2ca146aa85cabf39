// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRCriticalSection.h"

namespace orlo::project {

using zrtl::thread::ZRCriticalSection;

/// The locks that keep work on one media path and one kind of cache file exclusive.
///
/// Threads: any. The same path always gives the same lock, which lives as long as the manager.
class SONREL_EXPORT MediaManager : public std::enable_shared_from_this<MediaManager> {
public:
    MediaManager();
    MediaManager(MediaManager const&) = delete;
    MediaManager& operator=(MediaManager const&) = delete;
    ~MediaManager();

    ZRCriticalSection& ConformedAudioCacheFileCS(std::wstring const& mediaPath);
    ZRCriticalSection& WaveformPeakFileCS(std::wstring const& mediaPath);

private:
    using Locks = std::map<std::wstring, std::unique_ptr<ZRCriticalSection>>;

    ZRCriticalSection& LockFor(Locks& locks, std::wstring const& mediaPath);

    std::mutex mutex_;
    Locks conformedLocks_;
    Locks peakLocks_;
};

}  // namespace orlo::project
