// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/CacheInventory.h"
#include "host/Commands.h"
#include "host/DatabaseTrouble.h"
#include "host/Interrupt.h"
#include "host/Paths.h"
#include "host/Text.h"
#include "sonrel/caches/CacheFileCheck.h"
#include "sonrel/contracts/zrtl/Paths.h"

namespace orlo::host {

namespace {

using project::CacheFileKind;
using project::MediaDB;

const char* StateName(CacheEntry::State state) {
    switch (state) {
        case CacheEntry::State::Ok:
            return "ok";
        case CacheEntry::State::Missing:
            return "missing";
        case CacheEntry::State::Orphan:
            break;
    }
    return "orphan";
}

/// Milliseconds since 1970 as "2024-01-31T12:00:00.123Z".
std::string IsoTime(long long ms) {
    const long long seconds = ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
    const std::time_t time = seconds;
    std::tm parts = {};
    if (gmtime_r(&time, &parts) == nullptr) return "";
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    char fraction[16];
    std::snprintf(fraction, sizeof(fraction), ".%03lldZ", ms - seconds * 1000);
    return std::string(text, length) + fraction;
}

Json EntryJson(const CacheEntry& entry) {
    Json json;
    json["kind"] = entry.kind;
    json["media"] = nullptr;
    json["fingerprint"] = nullptr;
    json["stream"] = nullptr;
    json["rate"] = nullptr;
    json["file"] = entry.file;
    json["bytes"] = entry.bytes;
    json["lastUse"] = nullptr;
    json["state"] = StateName(entry.state);
    if (!entry.record) return json;
    json["media"] = zrtl::ToUtf8(entry.record->mediaPath);
    json["fingerprint"] = zrtl::ToUtf8(entry.record->mediaFingerprint);
    json["stream"] = entry.record->streamIndex;
    if (entry.record->kind == CacheFileKind::Conformed) json["rate"] = entry.record->sampleRate;
    json["lastUse"] = IsoTime(entry.record->lastUseMs);
    return json;
}

std::string Megabytes(long long bytes) {
    return FormatNumber(static_cast<double>(bytes) / 1e6, 1) + " MB";
}

std::string EntryText(const CacheEntry& entry) {
    std::string text = std::string(StateName(entry.state)) + "  " + entry.kind + "  " +
                       (entry.file.empty() ? "(no name)" : OneLine(entry.file)) + "  " +
                       Megabytes(entry.bytes);
    if (entry.record) {
        text += "  " + IsoTime(entry.record->lastUseMs) + "  " +
                OneLine(zrtl::ToUtf8(entry.record->mediaPath));
        if (entry.record->streamIndex > 0) {
            text += " (audio stream " + std::to_string(entry.record->streamIndex + 1) + ")";
        }
        if (entry.record->kind == CacheFileKind::Conformed) {
            text += " at " + std::to_string(entry.record->sampleRate) + " Hz";
        }
    }
    return text + "\n";
}

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

/// Variable-frame-rate files have a format of other programs, and only their presence is checked.
bool IsBroken(const CacheEntry& entry, const CachePlaces& places) {
    const std::wstring path = WidePath(CacheFilePath(places, entry.file));
    switch (entry.record->kind) {
        case CacheFileKind::Conformed:
            return !project::IsWholeConformedFile(path, entry.record->sampleRate);
        case CacheFileKind::Peak:
            return !sonrel::CacheFileCheck::IsWholePeakFile(path);
        case CacheFileKind::Vfr:
            break;
    }
    return false;
}

Outcome Check(const CachePlaces& places) {
    Outcome outcome;
    for (const char* key : {"missing", "orphans", "broken"}) outcome.report[key] = Json::array();
    for (const CacheEntry& entry : TakeInventory(places)) {
        if (Interrupted()) ThrowInterrupted("not all files were looked at");
        const char* list = nullptr;
        if (entry.state == CacheEntry::State::Missing) {
            list = "missing";
        } else if (entry.state == CacheEntry::State::Orphan) {
            list = "orphans";
        } else if (IsBroken(entry, places)) {
            list = "broken";
        }
        if (list == nullptr) continue;
        outcome.report[list].push_back(EntryJson(entry));
        outcome.text += std::string(list) + ": " + EntryText(entry);
    }
    if (outcome.text.empty())
        outcome.text = "every record has its whole file, and every file its record\n";
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
        const MediaDB database(WidePath(places.database), WidePath(places.folder), false);
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
            return Check(places);
        case CacheAction::Clean:
            break;
    }
    GlobalOptions cleaning = global;
    cleaning.keepDays = options.days.value_or(global.keepDays);
    return Clean(cleaning, options, places);
}

}  // namespace orlo::host
