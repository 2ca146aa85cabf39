// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/CacheCheck.h"
#include "host/CacheEntryText.h"
#include "host/CacheInventory.h"
#include "host/Commands.h"
#include "host/DatabaseTrouble.h"
#include "host/Interrupt.h"
#include "host/Paths.h"
#include "host/Text.h"
#include "sonrel/contracts/zrtl/Paths.h"

namespace orlo::host {

namespace {

using project::MediaDB;

Outcome List(const CachePlaces& places) {
    Outcome outcome;
    outcome.report["files"] = Json::array();
    for (const CacheEntry& entry : TakeInventory(places)) {
        outcome.report["files"].push_back(EntryJson(entry));
        outcome.text += EntryText(entry);
    }
    return outcome;
}

Outcome DiskUse(const CachePlaces& places) {
    struct Sum {
        long long files = 0;
        long long bytes = 0;

        void Add(const CacheEntry& entry) {
            ++files;
            bytes += entry.bytes;
        }
        Json ToJson() const { return {{"files", files}, {"bytes", bytes}}; }
        std::string ToText() const {
            return std::to_string(files) + " files, " + Megabytes(bytes) + "\n";
        }
    };
    Sum all;
    Sum orphans;
    std::map<std::string, Sum> kinds{{"conformed", {}}, {"peak", {}}, {"vfr", {}}};
    for (const CacheEntry& entry : TakeInventory(places)) {
        if (entry.state == CacheEntry::State::Missing) continue;
        all.Add(entry);
        kinds[entry.kind].Add(entry);
        if (entry.state == CacheEntry::State::Orphan) orphans.Add(entry);
    }
    Outcome outcome;
    outcome.report = all.ToJson();
    outcome.report["folder"] = places.folder;
    outcome.report["database"] = places.database;
    for (const auto& [kind, sum] : kinds) {
        outcome.report["kinds"][kind] = sum.ToJson();
        outcome.text += kind + ": " + sum.ToText();
    }
    outcome.report["orphans"] = orphans.ToJson();
    outcome.text += "all: " + all.ToText();
    if (orphans.files > 0) outcome.text += "of these without a record: " + orphans.ToText();
    return outcome;
}

/// What cleaning does, counted.
struct CleanSums {
    long long due = 0;
    long long removed = 0;
    long long failed = 0;
    long long freedBytes = 0;
    std::string firstFailure;

    void Gone(const CacheEntry& entry) {
        ++removed;
        freedBytes += entry.bytes;
    }
    void Stays(const std::string& file, const std::string& reason) {
        ++failed;
        if (firstFailure.empty()) firstFailure = Quoted(file) + ": " + reason;
    }
};

/// Whether another process has the file open, as one does that is making it just now. The kernel
/// grants a write lease only on a file that nobody else has open; where it grants none at all, the
/// answer is no.
bool IsInUse(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) return false;
    const bool inUse = fcntl(file, F_SETLEASE, F_WRLCK) != 0 && errno == EAGAIN;
    close(file);
    return inUse;
}

void RemoveOrphan(const CacheEntry& entry, const CachePlaces& places, CleanSums& sums) {
    const std::string path = CacheFilePath(places, entry.file);
    if (unlink(path.c_str()) == 0) {
        sums.Gone(entry);
    } else {
        sums.Stays(path, std::strerror(errno));
    }
}

/// The entries whose records were not used for so many days, by the database's own reckoning.
std::vector<CacheEntry> DueEntries(const CachePlaces& places, int days) {
    std::vector<CacheEntry> due;
    if (!std::filesystem::exists(places.database)) return due;
    std::set<std::wstring> names;
    try {
        const MediaDB database(WidePath(places.database), WidePath(places.folder), true);
        const auto add = [&](const auto& list) {
            for (const auto& record : list) names.insert(record.cacheFilename);
        };
        add(database.FindUnusedConformedFiles(days));
        add(database.FindUnusedPeakFiles(days));
        add(database.FindUnusedVFRCacheFiles(days));
    } catch (const std::exception& error) {
        throw JobError(DatabaseTrouble(places.database, error.what()));
    }
    for (const CacheEntry& entry : TakeInventory(places)) {
        if (entry.record && names.contains(entry.record->cacheFilename)) due.push_back(entry);
    }
    return due;
}

/// Lets the engine remove what is due, and looks what is left. The end of the engine removes what
/// is due too, so that the number of days holds until then.
void CleanDue(const GlobalOptions& global, const CachePlaces& places,
              const std::vector<CacheEntry>& due, CleanSums& sums) {
    const EngineSession session(global);
    try {
        session.Engine()->ClearCacheFiles();
        project::CacheLedger ledger(WidePath(places.database));
        for (const CacheEntry& entry : due) {
            // A record without a usable name has no file that the engine could remove.
            if (entry.file.empty()) ledger.Remove(*entry.record);
        }
    } catch (const std::exception& error) {
        throw JobError(DatabaseTrouble(places.database, error.what()));
    }
    for (const CacheEntry& entry : due) {
        std::error_code ignored;
        const std::string path = CacheFilePath(places, entry.file);
        if (entry.file.empty() ||
            !std::filesystem::exists(std::filesystem::symlink_status(path, ignored))) {
            sums.Gone(entry);
        } else {
            sums.Stays(path, "it cannot be removed; look at its and its folder's permissions");
        }
    }
}

/// @param global  with the number of days that cleaning takes
Outcome Clean(const GlobalOptions& global, const CacheOptions& options, const CachePlaces& places) {
    CleanSums sums;
    const std::vector<CacheEntry> due = DueEntries(places, global.keepDays);
    std::vector<CacheEntry> orphans;
    if (options.orphans) {
        orphans = TakeInventory(places);
        std::erase_if(orphans, [&](const CacheEntry& entry) {
            return entry.state != CacheEntry::State::Orphan ||
                   IsInUse(CacheFilePath(places, entry.file));
        });
    }
    sums.due = static_cast<long long>(due.size()) + static_cast<long long>(orphans.size());

    Outcome outcome;
    const char* verb = options.dryRun ? "would be removed: " : "due: ";
    for (const CacheEntry& entry : due) outcome.text += verb + EntryText(entry);
    for (const CacheEntry& entry : orphans) outcome.text += verb + EntryText(entry);
    if (!options.dryRun) {
        CleanDue(global, places, due, sums);
        for (const CacheEntry& entry : orphans) RemoveOrphan(entry, places, sums);
    }
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
    const CachePlaces places = CachePlacesOf(global);
    switch (options.action) {
        case CacheAction::List:
            return List(places);
        case CacheAction::DiskUse:
            return DiskUse(places);
        case CacheAction::Check:
            return CheckCache(places, options.deep);
        case CacheAction::Clean:
            break;
    }
    GlobalOptions cleaning = global;
    cleaning.keepDays = options.days.value_or(global.keepDays);
    return Clean(cleaning, options, places);
}

}  // namespace orlo::host
