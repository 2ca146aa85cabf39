// SPDX-License-Identifier: MIT
#include "host/media/CacheSizeLimit.h"

#include <algorithm>
#include <cerrno>
#include <functional>

#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::host {

namespace {

enum class Removal { Removed, Used, Failed, Changed };

/// The files that count, the longest unused first.
std::vector<CacheEntry> CountedEntries(const CachePaths& paths,
                                       const std::set<std::string>& excluded) {
    std::vector<CacheEntry> entries = TakeInventory(paths);
    std::erase_if(entries, [&](const CacheEntry& entry) {
        return entry.state != CacheEntry::State::Ok || excluded.contains(entry.file);
    });
    std::stable_sort(entries.begin(), entries.end(), [](const CacheEntry& a, const CacheEntry& b) {
        return a.record->lastUseMs < b.record->lastUseMs;
    });
    return entries;
}

bool IsMarkedHere(const CachePaths& paths, const CacheEntry& entry) {
    return sonrel::CacheFolderUse::IsMarked(WidePath(paths.folder), WidePath(entry.file));
}

sonrel::CacheFileRemoval RemovalOf(const CachePaths& paths, const CacheEntry& entry) {
    return {WidePath(paths.folder), WidePath(entry.file)};
}

/// Removes files with @p remove until the others have at most @p maxBytes.
CacheTrim Trim(const CachePaths& paths, const std::vector<CacheEntry>& entries, long long maxBytes,
               const std::function<Removal(const CacheEntry& entry)>& remove) {
    CacheTrim trim;
    for (const CacheEntry& entry : entries) trim.bytes += entry.bytes;
    for (const CacheEntry& entry : entries) {
        if (trim.bytes <= maxBytes) break;
        const Removal result = IsMarkedHere(paths, entry) ? Removal::Used : remove(entry);
        if (result == Removal::Used) trim.used.push_back(entry);
        if (result == Removal::Failed) trim.failed.push_back(entry);
        if (result == Removal::Removed) trim.removed.push_back(entry);
        // Another process may have removed the file.
        const bool isGone =
            result == Removal::Removed ||
            (result == Removal::Changed && IsGone(CacheFilePath(paths, entry.file)));
        if (isGone) trim.bytes -= entry.bytes;
    }
    return trim;
}

/// A file that is gone has no record for longer than the transaction. A record that is left after a
/// kill in between is removed by the next look-up.
Removal RemoveEntry(project::CacheLedger& ledger, const CachePaths& paths,
                    const CacheEntry& entry) {
    Removal result = Removal::Changed;
    ledger.IfUnchanged(*entry.record, [&] {
        const sonrel::CacheFileRemoval removal = RemovalOf(paths, entry);
        if (!removal.IsAllowed()) {
            result = Removal::Used;
        } else if (!files::Remove(CacheFilePath(paths, entry.file)) && errno != ENOENT) {
            result = Removal::Failed;
        } else {
            ledger.Remove(*entry.record);
            result = Removal::Removed;
        }
    });
    return result;
}

}  // namespace

CacheTrim TrimCache(const CachePaths& paths, long long maxBytes) {
    const std::vector<CacheEntry> entries = CountedEntries(paths, {});
    if (entries.empty()) return {};
    try {
        project::CacheLedger ledger(WidePath(paths.database));
        return Trim(paths, entries, maxBytes,
                    [&](const CacheEntry& entry) { return RemoveEntry(ledger, paths, entry); });
    } catch (const CommandError&) {
        throw;
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(paths.database, error.what()));
    }
}

CacheTrim PlanCacheTrim(const CachePaths& paths, long long maxBytes,
                        const std::set<std::string>& excluded) {
    return Trim(paths, CountedEntries(paths, excluded), maxBytes, [&](const CacheEntry& entry) {
        return RemovalOf(paths, entry).IsAllowed() ? Removal::Removed : Removal::Used;
    });
}

}  // namespace orlo::host
