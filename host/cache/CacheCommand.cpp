// SPDX-License-Identifier: MIT
#include "host/cache/CacheCommand.h"

#include <map>
#include <string>

#include "host/cache/CacheCheck.h"
#include "host/cache/CacheCleaning.h"
#include "host/cache/CacheEntryText.h"
#include "host/media/CacheInventory.h"
#include "host/media/DatabaseServerFile.h"
#include "host/shell/Errors.h"

namespace orlo::host {

namespace {

Outcome ListFiles(const CachePaths& paths) {
    Outcome outcome;
    outcome.report["files"] = Json::Array();
    for (const CacheEntry& entry : TakeInventory(paths)) {
        outcome.report["files"].Append(EntryJson(entry));
        outcome.text += EntryText(entry);
    }
    return outcome;
}

/// The size of some cache files.
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

Outcome DiskUse(const CachePaths& paths) {
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
    outcome.report["database"] = DatabaseNameOf(paths.database);
    for (const auto& [kind, sum] : kinds) {
        outcome.report["kinds"][kind] = sum.ToJson();
        outcome.text += kind + ": " + sum.ToText();
    }
    outcome.report["orphans"] = orphans.ToJson();
    outcome.text += "all: " + all.ToText();
    if (orphans.files > 0) outcome.text += "of these without a record: " + orphans.ToText();
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
    if (options.maxSize) cleaning.cacheSize = options.maxSize;
    return CleanCache(cleaning, options.orphans, options.dryRun);
}

}  // namespace orlo::host
