// SPDX-License-Identifier: MIT
#include "host/media/InputProtection.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>

#include "host/media/CacheInventory.h"
#include "host/media/EngineSession.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/database/DatabaseServer.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;
using project::CacheFileKind;
using project::CacheLedger;
using project::CacheRecord;

/// Every command with an output protects the default cache, also a command that uses no cache.
CachePaths PathsToProtect(GlobalOptions options) {
    options.noCacheDb = false;
    options.spool = {};
    try {
        return CachePathsOf(options);
    } catch (const JobError&) {
        return {};  // without a home folder a default cache does not exist
    }
}

/// The companion files of a linked database are in the folder of the file that the link points to.
void ProtectDatabase(const std::string& database, OutputGuard& guard) {
    guard.Protect(database, "the media database");
    std::error_code ignored;
    const std::string real = fs::canonical(database, ignored).string();
    for (const char* ending : {"-wal", "-shm", "-journal"}) {
        guard.Protect(database + ending, "a file of the media database");
        if (!real.empty()) guard.Protect(real + ending, "a file of the media database");
    }
    const fs::path log = fs::path(database).parent_path() / "CacheErrorLog.txt";
    guard.Protect(log.string(), "the log of cache errors");
}

/// Fails when a lack of descriptors prevents the listing of a folder. The folder would look empty,
/// and its files would not be protected.
void RequireDescriptor(const std::string& folder, const std::error_code& error) {
    if (error != std::errc::too_many_files_open &&
        error != std::errc::too_many_files_open_in_system) {
        return;
    }
    throw JobError("cannot list " + Quoted(folder) +
                   ": too many files are open; allow more (ulimit -n)");
}

/// Protects the cache files that may have any name. A database that cannot be read is reported when
/// the command uses it.
void ProtectVfrFiles(const CachePaths& paths, OutputGuard& guard) {
    try {
        for (const CacheRecord& record : CacheLedger(WidePath(paths.database)).Records()) {
            if (record.kind != CacheFileKind::Vfr || record.cacheFilename.empty()) continue;
            guard.Protect(CacheFilePath(paths, zrtl::ToUtf8(record.cacheFilename)),
                          "a vfr file of the media cache");
        }
    } catch (const std::exception&) {
    }
}

/// Conformed and peak files are recognized by their names, recorded or not. The database is read
/// only when the folder has other files.
void ProtectCacheFolder(const CachePaths& paths, OutputGuard& guard) {
    guard.Protect(CacheFilePath(paths, sonrel::CacheFolderUse::LOCK_FILE),
                  "the lock file of the media cache");
    guard.Protect(CacheFilePath(paths, project::CACHE_FOLDER_MARK), "the mark of the media cache");
    bool hasOthers = false;
    std::error_code error;
    for (fs::directory_iterator at(paths.folder, error), end; !error && at != end;
         at.increment(error)) {
        const std::string name = at->path().filename().string();
        const std::string kind = KindOfCacheFile(name);
        if (!kind.empty()) {
            guard.Protect(at->path().string(), "a " + kind + " file of the media cache");
        } else if (name != sonrel::CacheFolderUse::LOCK_FILE &&
                   name != project::CACHE_FOLDER_MARK) {
            hasOthers = true;
        }
    }
    RequireDescriptor(paths.folder, error);
    if (hasOthers) ProtectVfrFiles(paths, guard);
}

bool IsImageOf(const otio::ImageNames& names, const std::string& name) {
    if (name.size() <= names.prefix.size() + names.suffix.size()) return false;
    if (!name.starts_with(names.prefix) || !name.ends_with(names.suffix)) return false;
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(names.prefix.size()),
                       name.end() - static_cast<std::ptrdiff_t>(names.suffix.size()), isDigit);
}

void ProtectImages(const std::string& folder, const otio::ImageNames& names,
                   const std::string& role, OutputGuard& guard) {
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        if (!IsImageOf(names, at->path().filename().string())) continue;
        guard.Protect(at->path().string(), role);
    }
    RequireDescriptor(folder, error);
}

}  // namespace

void ProtectCache(const GlobalOptions& options, OutputGuard& guard) {
    if (options.spool.hasStandardInput) {
        guard.Protect("/dev/stdin", "standard input, which is read");
    }
    const CachePaths paths = PathsToProtect(options);
    if (paths.folder.empty()) return;
    ProtectDatabase(paths.database, guard);
    ProtectCacheFolder(paths, guard);
}

void ProtectTimeline(const std::string& input, const otio::TimelineImport& import,
                     OutputGuard& guard) {
    guard.Protect(AbsolutePath(input), "the timeline");
    guard.Protect(otio::TimelineFile(input), "the timeline");
    for (const otio::ReferencedMedia& media : import.media) {
        const std::string role = "the media file of " + media.use;
        if (media.images) {
            ProtectImages(media.path, *media.images, role, guard);
        } else {
            guard.Protect(media.path, role);
        }
    }
}

void ProtectMediaInput(const std::string& input, OutputGuard& guard) {
    guard.Protect(AbsolutePath(input), "the media file " + Quoted(input) + ", which is read");
}

}  // namespace orlo::host
