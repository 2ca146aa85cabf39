// SPDX-License-Identifier: MIT
#include "host/media/CacheInventory.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <system_error>

#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;
using project::CacheFileKind;
using project::CacheRecord;

const char* KindName(CacheFileKind kind) {
    switch (kind) {
        case CacheFileKind::Conformed:
            return "conformed";
        case CacheFileKind::Peak:
            return "peak";
        case CacheFileKind::Vfr:
            break;
    }
    return "vfr";
}

std::vector<CacheRecord> ReadRecords(const std::string& database) {
    if (!HasDatabase(database)) return {};
    try {
        return project::CacheLedger(WidePath(database)).Records();
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(database, error.what()));
    }
}

CacheEntry EntryOf(const CacheRecord& record, const CachePaths& paths) {
    CacheEntry entry;
    entry.record = record;
    entry.kind = KindName(record.kind);
    entry.file = zrtl::ToUtf8(record.cacheFilename);
    struct stat status = {};
    if (entry.file.empty() || stat(CacheFilePath(paths, entry.file).c_str(), &status) != 0) {
        entry.state = CacheEntry::State::Missing;
    } else {
        entry.bytes = static_cast<long long>(status.st_size);
    }
    return entry;
}

/// Opens a folder, again when a signal interrupts the opening.
fs::directory_iterator OpenFolder(const std::string& path, std::error_code& error) {
    for (;;) {
        fs::directory_iterator folder(path, error);
        if (error != std::errc::interrupted) return folder;
    }
}

std::vector<CacheEntry> FindOrphans(const CachePaths& paths, const std::set<std::string>& known) {
    std::vector<CacheEntry> orphans;
    std::error_code error;
    if (fs::status(paths.folder, error).type() == fs::file_type::not_found) return orphans;
    auto at = error ? fs::directory_iterator() : OpenFolder(paths.folder, error);
    for (; !error && at != fs::directory_iterator(); at.increment(error)) {
        const std::string kind = KindOfCacheFile(at->path().filename().string());
        const std::string name = at->path().filename().string();
        std::error_code ignored;
        if (kind.empty() || known.contains(name) || at->is_directory(ignored)) continue;
        CacheEntry entry;
        entry.state = CacheEntry::State::Orphan;
        entry.kind = kind;
        entry.file = name;
        struct stat status = {};
        if (lstat(at->path().c_str(), &status) == 0) {
            entry.bytes = static_cast<long long>(status.st_size);
        }
        orphans.push_back(entry);
    }
    if (error) {
        throw JobError("cannot read the cache folder " + Quoted(paths.folder) + ": " +
                       error.message() + "; choose another folder with --cache");
    }
    std::sort(orphans.begin(), orphans.end(),
              [](const CacheEntry& a, const CacheEntry& b) { return a.file < b.file; });
    return orphans;
}

}  // namespace

std::string KindOfCacheFile(const std::string& name) {
    if (name.ends_with(".xwmc")) return "conformed";
    return name.ends_with(".xwpk") ? "peak" : "";
}

std::string CacheFilePath(const CachePaths& paths, const std::string& file) {
    return (fs::path(paths.folder) / file).string();
}

bool HasDatabase(const std::string& database) {
    struct stat status = {};
    if (stat(database.c_str(), &status) == 0) return true;
    if (errno == ENOENT || errno == ENOTDIR) return false;
    throw JobError("cannot use the media database " + Quoted(database) + ": " +
                   std::strerror(errno) +
                   "; check its disk and the permissions of its folder, or " + OTHER_DATABASE);
}

bool IsGone(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

std::vector<CacheEntry> TakeInventory(const CachePaths& paths) {
    std::vector<CacheEntry> entries;
    std::set<std::string> known;
    for (const CacheRecord& record : ReadRecords(paths.database)) {
        entries.push_back(EntryOf(record, paths));
        known.insert(entries.back().file);
    }
    const std::vector<CacheEntry> orphans = FindOrphans(paths, known);
    entries.insert(entries.end(), orphans.begin(), orphans.end());
    return entries;
}

}  // namespace orlo::host
