// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRCriticalSection.h"

namespace orlo::project {

using zrtl::thread::ZRCriticalSection;

struct MediaManagerImpl;

/// The locks that make the work on one media path and one kind of cache file exclusive.
///
/// Threads: any. The same path always returns the same lock, which exists as long as the manager.
class SONREL_EXPORT MediaManager : public std::enable_shared_from_this<MediaManager> {
public:
    MediaManager();
    MediaManager(MediaManager const&) = delete;
    MediaManager& operator=(MediaManager const&) = delete;
    ~MediaManager();
    /// The lock for conformed files.
    ZRCriticalSection& ConformedAudioCacheFileCS(std::wstring const& mediaPath);
    ZRCriticalSection& WaveformPeakFileCS(std::wstring const& mediaPath);  ///< for peak files

private:
    std::unique_ptr<MediaManagerImpl> impl_;
};

}  // namespace orlo::project
