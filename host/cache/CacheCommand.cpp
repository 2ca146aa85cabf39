// SPDX-License-Identifier: MIT
#include "host/cache/CacheCommand.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/cache/CacheCheck.h"
#include "host/cache/CacheEntryText.h"
#include "host/media/CacheInventory.h"
#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileUse.h"

namespace orlo::host {

namespace {

using project::MediaDB;

Outcome ListFiles(const CachePaths& paths) {
    Outcome outcome;
    outcome.report["files"] = Json::Array();
    for (const CacheEntry& entry : TakeInventory(paths)) {
        outcome.report["files"].Append(EntryJson(entry));
        outcome.text += EntryText(entry);
    }
    return outcome;
}

Outcome DiskUse(const CachePaths& paths) {
    struct Sum {
        long long files = 0;
        long long bytes = 0;

        void Add(const CacheEntry& entry) {
            ++files;
            bytes += entry.bytes;
        }
        Json ToJson() const { return Json::Object({{"files", files}, {"bytes", bytes}}); }
        std::string ToText() const {
            return std::to_string(files) + " files, " + Megabytes(bytes) + "\n";
        }
    };
    Sum all;
    Sum orphans;
    std::map<std::string, Sum> kinds{{"conformed", {}}, {"peak", {}}, {"vfr", {}}};
    for (const CacheEntry& entry : TakeInventory(paths)) {
        if (entry.state == CacheEntry::State::Missing) continue;
        all.Add(entry);
        kinds[entry.kind].Add(entry);
        if (entry.state == CacheEntry::State::Orphan) orphans.Add(entry);
    }
    Outcome outcome;
    outcome.report = all.ToJson();
    outcome.report["folder"] = paths.folder;
    outcome.report["database"] = paths.database;
    for (const auto& [kind, sum] : kinds) {
        outcome.report["kinds"][kind] = sum.ToJson();
        outcome.text += kind + ": " + sum.ToText();
    }
    outcome.report["orphans"] = orphans.ToJson();
    outcome.text += "all: " + all.ToText();
    if (orphans.files > 0) outcome.text += "of these without a record: " + orphans.ToText();
    return outcome;
}

/// Counts the results of cleaning.
struct CleanSums {
    long long due = 0;
    long long removed = 0;
    long long failed = 0;
    long long freedBytes = 0;
    std::string firstFailure;

    void AddRemoved(const CacheEntry& entry) {
        ++removed;
        freedBytes += entry.bytes;
    }
    void AddFailed(const std::string& file, const std::string& reason) {
        ++failed;
        if (firstFailure.empty()) firstFailure = Quoted(file) + ": " + reason;
    }
};

void RemoveOrphan(const CacheEntry& entry, const CachePaths& paths, CleanSums& sums) {
    const std::string path = CacheFilePath(paths, entry.file);
    if (unlink(path.c_str()) == 0 || errno == ENOENT) {
        sums.AddRemoved(entry);
    } else {
        sums.AddFailed(path, std::strerror(errno));
    }
}

/// The entries whose records have not been used for @p days days, as reported by the database.
std::vector<CacheEntry> DueEntries(const CachePaths& paths, int days) {
    std::vector<CacheEntry> due;
    if (!std::filesystem::exists(paths.database)) return due;
    std::set<std::wstring> names;
    try {
        const MediaDB database(WidePath(paths.database), WidePath(paths.folder), true);
        const auto add = [&](const auto& list) {
            for (const auto& record : list) names.insert(record.cacheFilename);
        };
        add(database.FindUnusedConformedFiles(days));
        add(database.FindUnusedPeakFiles(days));
        add(database.FindUnusedVFRCacheFiles(days));
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(paths.database, error.what()));
    }
    for (const CacheEntry& entry : TakeInventory(paths)) {
        if (entry.record && names.contains(entry.record->cacheFilename)) due.push_back(entry);
    }
    return due;
}

bool IsInUse(const CachePaths& paths, const std::string& file) {
    return !sonrel::CacheFileRemoval(WidePath(paths.folder), WidePath(file)).IsAllowed();
}

/// The reason why a file counts as used, as a clause.
std::string UseClause(const CachePaths& paths) {
    const std::string marks = CacheFilePath(paths, sonrel::CacheFolderUse::LOCK_FILE);
    if (access(marks.c_str(), R_OK) == 0 || errno == ENOENT) {
        return "another program uses it; try again after that program has ended";
    }
    return "another program may be using it, because " + Quoted(marks) +
           " cannot be read: " + std::strerror(errno);
}

/// The files of @p entries that other programs use.
std::set<std::string> FilesInUse(const CachePaths& paths, const std::vector<CacheEntry>& entries) {
    std::set<std::string> used;
    for (const CacheEntry& entry : entries) {
        if (IsInUse(paths, entry.file)) used.insert(entry.file);
    }
    return used;
}

/// Lets the engine remove the due files and checks which files are left. The destructor of the
/// engine also removes due files, with the same number of days.
void CleanDue(const EngineSession& session, const std::vector<CacheEntry>& due, CleanSums& sums) {
    const CachePaths& paths = session.Paths();
    const std::set<std::string> used = FilesInUse(paths, due);
    // Reports why the database cannot be opened. The engine would silently remove nothing.
    session.Connect();
    try {
        session.Engine()->ClearCacheFiles();
        project::CacheLedger ledger(WidePath(paths.database));
        for (const CacheEntry& entry : due) {
            // A record without a usable name has no file that the engine could remove.
            if (entry.file.empty()) ledger.Remove(*entry.record);
        }
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(paths.database, error.what()));
    }
    for (const CacheEntry& entry : due) {
        std::error_code ignored;
        const std::string path = CacheFilePath(paths, entry.file);
        if (entry.file.empty() ||
            !std::filesystem::exists(std::filesystem::symlink_status(path, ignored))) {
            sums.AddRemoved(entry);
        } else {
            const bool isUsed = used.contains(entry.file) || IsInUse(paths, entry.file);
            sums.AddFailed(
                path,
                isUsed ? UseClause(paths)
                       : "it cannot be removed; check the permissions of the file and its folder");
        }
    }
}

/// The files without a record that no process writes, with the locks that allow their removal.
struct Orphans {
    std::vector<CacheEntry> entries;
    std::vector<sonrel::CacheFileRemoval> removals;
};

/// Whether a program may still be writing a file. Without locks the age of the file decides.
bool MayBeWritten(const CachePaths& paths, const CacheEntry& entry) {
    constexpr std::chrono::hours MAX_WRITING{24};
    const std::wstring folder = WidePath(paths.folder);
    if (sonrel::CacheFolderUse::HasLocks(folder)) return false;
    std::error_code error;
    const auto written = std::filesystem::last_write_time(CacheFilePath(paths, entry.file), error);
    return !error && written > std::filesystem::file_time_type::clock::now() - MAX_WRITING;
}

/// A file is recorded before its writer releases it. So a file that no process writes and that has
/// no record afterwards never gets a record.
Orphans FindOrphans(const CachePaths& paths) {
    Orphans orphans;
    std::set<std::string> unwritten;
    for (const CacheEntry& entry : TakeInventory(paths)) {
        if (entry.state != CacheEntry::State::Orphan) continue;
        sonrel::CacheFileRemoval removal(WidePath(paths.folder), WidePath(entry.file));
        if (!removal.IsAllowed() || MayBeWritten(paths, entry)) continue;
        orphans.removals.push_back(std::move(removal));
        unwritten.insert(entry.file);
    }
    if (unwritten.empty()) return orphans;
    for (const CacheEntry& entry : TakeInventory(paths)) {
        const bool isOrphan = entry.state == CacheEntry::State::Orphan;
        if (isOrphan && unwritten.contains(entry.file)) orphans.entries.push_back(entry);
    }
    return orphans;
}

/// Removes the files without a record.
/// @return one line per file
std::string CleanOrphans(const CachePaths& paths, bool dryRun, const char* verb, CleanSums& sums) {
    const Orphans orphans = FindOrphans(paths);
    std::string text;
    for (const CacheEntry& entry : orphans.entries) {
        text += verb + EntryText(entry);
        ++sums.due;
        if (!dryRun) RemoveOrphan(entry, paths, sums);
    }
    return text;
}

/// @param global  contains the number of days for cleaning
Outcome Clean(const GlobalOptions& global, const CacheOptions& options, const CachePaths& paths) {
    // The session comes first, so that a database that another program is creating is complete.
    std::optional<EngineSession> session;
    if (!options.dryRun) session.emplace(global);
    CleanSums sums;
    const std::vector<CacheEntry> due = DueEntries(paths, global.keepDays);
    sums.due = static_cast<long long>(due.size());

    Outcome outcome;
    const char* verb = options.dryRun ? "would be removed: " : "due: ";
    for (const CacheEntry& entry : due) outcome.text += verb + EntryText(entry);
    if (session) CleanDue(*session, due, sums);
    if (options.orphans) outcome.text += CleanOrphans(paths, options.dryRun, verb, sums);
    outcome.report["due"] = sums.due;
    outcome.report["removed"] = sums.removed;
    outcome.report["failed"] = sums.failed;
    outcome.report["freedBytes"] = sums.freedBytes;
    outcome.text += std::to_string(sums.due) + " due, " + std::to_string(sums.removed) +
                    " removed, " + std::to_string(sums.failed) + " failed, " +
                    Megabytes(sums.freedBytes) + " freed\n";
    if (sums.failed > 0) {
        outcome.Fail(ExitCode::JobFailed, "cannot remove " + std::to_string(sums.failed) + " of " +
                                              std::to_string(sums.due) +
                                              " cache files, the first of which is " +
                                              sums.firstFailure);
    }
    return outcome;
}

}  // namespace

Outcome RunCache(const GlobalOptions& global, const CacheOptions& options) {
    if (global.noCacheDb) {
        throw UsageError("cache works on the cache and its database; leave out --no-cache-db");
    }
    const CachePaths paths = CachePathsOf(global);
    switch (options.action) {
        case CacheAction::List:
            return ListFiles(paths);
        case CacheAction::DiskUse:
            return DiskUse(paths);
        case CacheAction::Check:
            return CheckCache(paths, options.deep);
        case CacheAction::Clean:
            break;
    }
    GlobalOptions cleaning = global;
    cleaning.keepDays = options.days.value_or(global.keepDays);
    return Clean(cleaning, options, paths);
}

}  // namespace orlo::host
