// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/media/DatabaseErrorMessage.h"
#include "host/options/GlobalOptions.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/engine/Sonrel.h"

namespace orlo::host {

/// The paths of the media cache and its database; both empty with --no-cache-db.
struct CachePaths {
    std::string folder;
    std::string database;
    /// The remedy for a folder or a database that cannot be used.
    std::string folderRemedy = "choose another folder with --cache";
    std::string databaseRemedy = OTHER_DATABASE;
};

/// The paths from the options, made absolute, or the default paths. For the address of a database
/// server, the path of its server file, which is written if necessary.
/// @throws JobError when a default path is needed and no home folder is set, or a server file
///         cannot be written
/// @throws UsageError for a database server without a cache folder
CachePaths CachePathsOf(const GlobalOptions& options);

/// An engine for one command. At its end it removes cache files beyond --cache-size, and those that
/// are older than --keep-days.
class EngineSession {
public:
    /// @throws JobError that names the cache folder or the database and the reason
    explicit EngineSession(const GlobalOptions& options);
    ~EngineSession();
    EngineSession(const EngineSession&) = delete;
    EngineSession& operator=(const EngineSession&) = delete;

    const std::shared_ptr<sonrel::Sonrel>& Engine() const { return engine_; }
    const CachePaths& Paths() const { return paths_; }

    /// A database connection for one thread. @throws JobError
    std::shared_ptr<project::MediaDB> Connect() const;

private:
    void LimitCacheSize() const;

    CachePaths paths_;
    std::optional<long long> cacheSize_;  // empty for a temporary cache
    std::shared_ptr<sonrel::Sonrel> engine_;
};

/// The reason why a file cannot be created in the cache folder, as a clause; empty when it can.
/// @param bytes  size of the file
std::string FolderErrorMessage(const CachePaths& paths, long long bytes);

}  // namespace orlo::host
