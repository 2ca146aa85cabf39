// SPDX-License-Identifier: MIT
#include "host/cache/CacheCleaning.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/cache/CacheEntryText.h"
#include "host/media/CacheInventory.h"
#include "host/media/CacheSizeLimit.h"
#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileUse.h"

namespace orlo::host {

namespace {

using project::MediaDB;

/// Counts the results of cleaning.
struct CleanSums {
    long long due = 0;
    long long removed = 0;
    long long failed = 0;
    long long freedBytes = 0;
    std::optional<long long> leftBytes;  ///< after a limit of the size
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
    if (!HasDatabase(paths.database)) return due;
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

constexpr char NOT_REMOVED[] =
    "it cannot be removed; check the permissions of the file and its folder";

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
        const std::string path = CacheFilePath(paths, entry.file);
        if (entry.file.empty() || IsGone(path)) {
            sums.AddRemoved(entry);
        } else {
            const bool isUsed = used.contains(entry.file) || IsInUse(paths, entry.file);
            sums.AddFailed(path, isUsed ? UseClause(paths) : NOT_REMOVED);
        }
    }
}

/// Removes the files beyond a size. A file that a program uses is a failure only if the cache stays
/// larger than the size.
/// @param due  the files that were due by days; a dry run has not removed them
/// @return one line per file
std::string CleanToSize(const CachePaths& paths, long long maxBytes, bool dryRun,
                        const std::vector<CacheEntry>& due, CleanSums& sums) {
    std::set<std::string> dueFiles;
    for (const CacheEntry& entry : due) dueFiles.insert(entry.file);
    const CacheTrim trim =
        dryRun ? PlanCacheTrim(paths, maxBytes, dueFiles) : TrimCache(paths, maxBytes);
    std::string text;
    for (const CacheEntry& entry : trim.removed) {
        text += (dryRun ? "would be removed: " : "due: ") + EntryText(entry);
        ++sums.due;
        if (!dryRun) sums.AddRemoved(entry);
    }
    sums.leftBytes = trim.bytes;
    const auto fail = [&](const std::vector<CacheEntry>& entries, const std::string& reason) {
        for (const CacheEntry& entry : entries) {
            if (dueFiles.contains(entry.file)) continue;  // reported
            ++sums.due;
            sums.AddFailed(CacheFilePath(paths, entry.file), reason);
        }
    };
    if (dryRun) return text;
    if (trim.bytes > maxBytes) fail(trim.used, UseClause(paths));
    fail(trim.failed, NOT_REMOVED);
    return text;
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

void Report(const CleanSums& sums, Outcome& outcome) {
    outcome.report["due"] = sums.due;
    outcome.report["removed"] = sums.removed;
    outcome.report["failed"] = sums.failed;
    outcome.report["freedBytes"] = sums.freedBytes;
    outcome.text += std::to_string(sums.due) + " due, " + std::to_string(sums.removed) +
                    " removed, " + std::to_string(sums.failed) + " failed, " +
                    Megabytes(sums.freedBytes) + " freed";
    if (sums.leftBytes) {
        outcome.report["leftBytes"] = *sums.leftBytes;
        outcome.text += ", " + Megabytes(*sums.leftBytes) + " left";
    }
    outcome.text += "\n";
    if (sums.failed > 0) {
        outcome.Fail(ExitCode::JobFailed, "cannot remove " + std::to_string(sums.failed) + " of " +
                                              std::to_string(sums.due) +
                                              " cache files, the first of which is " +
                                              sums.firstFailure);
    }
}

}  // namespace

Outcome CleanCache(const GlobalOptions& global, bool orphans, bool dryRun) {
    const CachePaths paths = CachePathsOf(global);
    // The session comes first, so that a database that another program is creating is complete.
    std::optional<EngineSession> session;
    GlobalOptions withoutSize = global;
    withoutSize.cacheSize.reset();  // applied and reported below, not at the end of the session
    if (!dryRun) session.emplace(withoutSize);
    CleanSums sums;
    const std::vector<CacheEntry> due = DueEntries(paths, global.keepDays);
    sums.due = static_cast<long long>(due.size());

    Outcome outcome;
    const char* verb = dryRun ? "would be removed: " : "due: ";
    for (const CacheEntry& entry : due) outcome.text += verb + EntryText(entry);
    if (session) CleanDue(*session, due, sums);
    if (global.cacheSize) outcome.text += CleanToSize(paths, *global.cacheSize, dryRun, due, sums);
    if (orphans) outcome.text += CleanOrphans(paths, dryRun, verb, sums);
    Report(sums, outcome);
    return outcome;
}

}  // namespace orlo::host
