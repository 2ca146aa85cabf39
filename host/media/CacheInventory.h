// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/media/EngineSession.h"
#include "sonrel/database/CacheLedger.h"

namespace orlo::host {

/// A record, a cache file, or both.
struct CacheEntry {
    enum class State { Ok, Missing, Orphan };

    State state = State::Ok;
    std::optional<project::CacheRecord> record;  ///< empty for an orphan
    std::string kind;                            ///< "conformed", "peak" or "vfr"
    std::string file;                            ///< bare name
    long long bytes = 0;                         ///< 0 when the file is missing
};

/// Whether the database exists.
/// @throws JobError when it cannot be examined
bool HasDatabase(const std::string& database);

/// Whether nothing has this name. A file that cannot be examined is not gone.
bool IsGone(const std::string& path);

/// Lists the contents of the database and the cache folder. Changes neither; a missing database or
/// folder counts as empty.
/// @throws JobError when the database or the folder cannot be read
std::vector<CacheEntry> TakeInventory(const CachePaths& paths);

/// The kind of a file in the cache folder by the ending of its name; empty for files that do not
/// belong to the cache, which no command changes.
std::string KindOfCacheFile(const std::string& name);

/// Full path of a file in the cache folder.
std::string CacheFilePath(const CachePaths& paths, const std::string& file);

}  // namespace orlo::host
