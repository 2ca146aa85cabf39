// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "host/options/GlobalOptions.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/engine/Sonrel.h"

namespace orlo::host {

/// Where the media cache and its database lie; both empty with --no-cache-db.
struct CachePaths {
    std::string folder;
    std::string database;
};

/// The paths that the options name, absolute, or the default ones.
/// @throws JobError where there is no home to put the default ones in
CachePaths CachePathsOf(const GlobalOptions& options);

/// An engine for one command. When it ends, cache files age out after --keep-days.
class EngineSession {
public:
    /// @throws JobError that names the cache folder or the database and what is wrong with it
    explicit EngineSession(const GlobalOptions& options);
    ~EngineSession();
    EngineSession(const EngineSession&) = delete;
    EngineSession& operator=(const EngineSession&) = delete;

    const std::shared_ptr<sonrel::Sonrel>& Engine() const { return engine_; }
    const CachePaths& Paths() const { return paths_; }

    /// A database connection for one thread. @throws JobError
    std::shared_ptr<project::MediaDB> Connect() const;

private:
    CachePaths paths_;
    std::shared_ptr<sonrel::Sonrel> engine_;
};

/// Attempts to find or make a cache file while other programs record their own files first. The
/// last attempt replaces the record, which no other program can prevent.
constexpr int MAX_RECORD_ATTEMPTS = 3;

/// What keeps files from being made in a folder, as a clause; empty where nothing does.
/// @param bytes  what has to fit
std::string FolderErrorMessage(const std::string& folder, long long bytes);

}  // namespace orlo::host
