// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/database/MediaDB.h"

namespace orlo::project {
class LogFile;
}  // namespace orlo::project

namespace orlo::sonrel {

class AudioMixer;
class PlaybackEngine;

/// The engine object's record. Its members are released in reverse order.
struct SonrelImpl {
    std::unique_ptr<CacheFolderUse> cacheFolderUse;  // empty without a cache folder
    std::wstring mediaDatabasePath;                  // absolute, native separators
    std::wstring mediaCacheFolderPath;               // absolute, native separators
    project::MediaDB::DatabaseStatus mediaDatabaseStatus = project::MediaDB::None;
    int daysToKeepCacheFiles = 30;
    std::shared_ptr<project::LogFile> mediaCacheErrorLog;
    std::shared_ptr<AudioMixer> mixer;         // never empty after construction
    std::shared_ptr<PlaybackEngine> playback;  // empty until the host requests it
};

}  // namespace orlo::sonrel
