// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/cache/detail/CacheKind.h"

namespace orlo::project {
class LogFile;
}

namespace orlo::sonrel::detail {

/// The arguments that all cache helpers share.
struct CacheRequest {
    const CacheKind& kind;
    std::shared_ptr<project::MediaAsset> asset;
    int sampleRate;                              ///< CacheKey::sampleRate
    std::wstring cacheFolder;                    ///< empty: no file is made
    std::shared_ptr<project::LogFile> log;       ///< may be null
    std::shared_ptr<project::MediaDB> database;  ///< may be null
    bool includeAllCodecs;                       ///< false skips codec 6
};

/// The action after a finished file could not be recorded. Another process may have recorded its
/// own file first.
enum class IfNotRecorded { GiveUp, LookAgain };

/// Finds the current file of an asset's stream, or makes a file under a new name and records it.
///
/// A file is current if its record has a name and a file of that name exists and is not a link; the
/// content of the file is not examined. A record without a current file is removed. A file that is
/// incomplete or cannot be recorded is deleted and logged. A record that cannot be touched is
/// logged, and the file is used.
///
/// The file is marked as used by this process before it is examined or written. Without a database
/// every call makes a file. The lock of the media path is held during the whole call. With a
/// database on a server, the lock of the media path on all machines is held as well while a file is
/// made, and the call first looks again for the file of another machine.
/// @return the full path; empty on failure, without a cache folder, and for an asset without sound,
///         with a skipped codec or without a media manager
/// @throws std::exception from CacheKind::find, CacheKind::remove and MediaDB::LockForAll, and
///         "Cannot create UUID"
std::wstring FindOrMakeCacheFile(const CacheRequest& request, IfNotRecorded ifNotRecorded);

/// Makes a file under a new name and records it instead of the recorded file, whether that is
/// current or not. A lookup finds one of the two at any time. The old file is removed unless
/// another process uses it; then its record counts as unused, and housekeeping removes both.
///
/// On failure the old file and its record remain. Everything else is as for FindOrMakeCacheFile.
std::wstring RemakeCacheFile(const CacheRequest& request);

}  // namespace orlo::sonrel::detail
