// SPDX-License-Identifier: MIT
#include "host/media/EngineSession.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "host/media/CacheSizeLimit.h"
#include "host/media/DatabaseServerFile.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/database/DatabaseServer.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;
using sonrel::Sonrel;

constexpr const char* OTHER_TEMPORARY_FOLDER = "set TMPDIR to another folder";

/// $XDG_CACHE_HOME/sonrel. A relative value is ignored.
std::string DefaultFolder() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    if (cache != nullptr && cache[0] == '/') return std::string(cache) + "/sonrel";
    const char* home = std::getenv("HOME");
    if (home == nullptr || home[0] != '/') {
        throw JobError("no home folder is set for the media cache; set --cache and --db");
    }
    return std::string(home) + "/.cache/sonrel";
}

/// The file of the database, or the server file for an address.
std::string DatabaseFileOf(const GlobalOptions& options) {
    const std::string& database = options.databaseFile;
    if (database.empty()) return AbsolutePath(DefaultFolder() + "/media.db");
    if (!project::IsDatabaseServerAddress(database)) return AbsolutePath(database);
    if (options.cacheFolder.empty()) {
        throw UsageError(
            "a database on a server needs a cache folder that all machines share; set --cache");
    }
    return DatabaseServerFileFor(database, DefaultFolder());
}

void MakeDefaultFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw JobError("cannot create the folder " + Quoted(folder) + ": " + error.message() +
                       "; set --cache and --db");
    }
}

/// The reason why the cache folder is unusable, checked before the engine is created; empty when it
/// is usable.
std::string CacheFolderErrorMessage(const std::string& folder) {
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (fs::exists(status) && !fs::is_directory(status)) return "it is not a folder";
    return {};
}

}  // namespace

CachePaths CachePathsOf(const GlobalOptions& options) {
    const std::string& spool = options.spool.folder;
    if (!spool.empty()) {
        return {spool + "/cache", spool + "/media.db", OTHER_TEMPORARY_FOLDER,
                OTHER_TEMPORARY_FOLDER};
    }
    if (options.noCacheDb) return {};
    CachePaths paths;
    paths.folder = AbsolutePath(options.cacheFolder.empty() ? DefaultFolder() + "/media"
                                                            : options.cacheFolder);
    paths.database = DatabaseFileOf(options);
    return paths;
}

std::string FolderErrorMessage(const CachePaths& paths, long long bytes) {
    const std::string& folder = paths.folder;
    if (IsOnReadOnlyFileSystem(folder)) {
        return "the folder " + Quoted(folder) + " is on a read-only file system; " +
               paths.folderRemedy;
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        return "the folder " + Quoted(folder) + " is not writable; " + paths.folderRemedy;
    }
    struct statvfs disk = {};
    if (statvfs(folder.c_str(), &disk) != 0) return {};
    const double available =
        static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
    if (disk.f_files > 0 && disk.f_favail == 0) {
        return "the disk of " + Quoted(folder) + " has no room for another file; delete some files";
    }
    if (static_cast<double>(bytes) <= available) return {};
    return "the disk of " + Quoted(folder) +
           " is full: " + FormatNumber(static_cast<double>(bytes) / 1e6, 1) +
           " MB are needed and " + FormatNumber(available / 1e6, 1) +
           " MB are free; make room, or " + paths.folderRemedy;
}

EngineSession::EngineSession(const GlobalOptions& options) : paths_(CachePathsOf(options)) {
    if (!options.noCacheDb && options.spool.folder.empty()) {
        cacheSize_ = options.cacheSize;
        if (options.cacheFolder.empty() || options.databaseFile.empty()) {
            MakeDefaultFolder(DefaultFolder());
        }
        const std::string message = CacheFolderErrorMessage(paths_.folder);
        if (!message.empty()) {
            throw JobError("cannot use the cache folder " + Quoted(paths_.folder) + ": " + message +
                           "; " + paths_.folderRemedy);
        }
    }
    std::string error;
    engine_ = Sonrel::Create(
        WidePath(paths_.database), WidePath(paths_.folder), &error,
        options.noLog ? Sonrel::LogOption::NoErrorLog : Sonrel::LogOption::WriteErrorLog);
    if (engine_ == nullptr) {
        // The engine creates the folder before it opens the database.
        std::error_code ignored;
        if (!paths_.folder.empty() && !fs::is_directory(paths_.folder, ignored)) {
            throw JobError("cannot create the cache folder " + Quoted(paths_.folder) +
                           (IsOnReadOnlyFileSystem(paths_.folder)
                                ? ": it is on a read-only file system; "
                                : "; ") +
                           paths_.folderRemedy);
        }
        throw JobError(DatabaseErrorMessage(paths_.database, error, paths_.databaseRemedy));
    }
    engine_->SetDaysToKeepCacheFiles(options.keepDays);
}

// While the engine exists, the files that this command has used are marked.
EngineSession::~EngineSession() {
    try {
        LimitCacheSize();
    } catch (const std::exception&) {
        // The next command tries again.
    }
}

void EngineSession::LimitCacheSize() const {
    if (!cacheSize_) return;
    const CacheTrim trim = TrimCache(paths_, *cacheSize_);
    const std::shared_ptr<project::LogFile>& log = engine_->MediaCacheErrorLog();
    if (log == nullptr) return;
    for (const CacheEntry& entry : trim.failed) {
        log->Write(L"Could not remove cache file when limiting the size of the cache: " +
                   entry.record->mediaPath + L" " + entry.record->cacheFilename);
    }
}

std::shared_ptr<project::MediaDB> EngineSession::Connect() const {
    if (paths_.database.empty()) return nullptr;
    try {
        return std::make_shared<project::MediaDB>(WidePath(paths_.database),
                                                  WidePath(paths_.folder), false);
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(paths_.database, error.what(), paths_.databaseRemedy));
    }
}

}  // namespace orlo::host
