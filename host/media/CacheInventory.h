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
    long long bytes = 0;                         ///< 0 where the file is missing
};

/// What the database and the cache folder hold. Changes neither; what is not there is empty.
/// @throws JobError where one of them cannot be read
std::vector<CacheEntry> TakeInventory(const CachePaths& paths);

/// The kind of a file in the cache folder by the ending of its name; empty for files that are not
/// of the cache, which are left alone whatever the folder is.
std::string KindOfCacheFile(const std::string& name);

/// Full path of a file in the cache folder.
std::string CacheFilePath(const CachePaths& paths, const std::string& file);

}  // namespace orlo::host
