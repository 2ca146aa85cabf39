// SPDX-License-Identifier: MIT
#include "host/cache/CacheCheck.h"

#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/cache/CacheEntryText.h"
#include "host/media/CacheInventory.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/database/MediaDB.h"

namespace orlo::host {

namespace {

using project::CacheFileKind;
using project::CacheRecord;
namespace check = sonrel::CacheFileCheck;

constexpr char UNFINISHED[] = "not all files were checked";

/// A list of the report.
struct List {
    const char* key;
    const char* label;
    bool isFault;
};
constexpr List MISSING = {"missing", "missing", true};
constexpr List ORPHANS = {"orphans", "orphans", true};
constexpr List BROKEN = {"broken", "broken", true};
constexpr List STALE = {"stale", "stale", true};
constexpr List NO_CHECKSUM = {"noChecksum", "no checksum", false};

/// The list of an entry, and the reason.
struct Verdict {
    const List* list = nullptr;  ///< null without a fault
    std::string reason;          ///< the reason of a broken file
};

/// Variable-frame-rate files are written by other programs in an unknown format.
bool IsWhole(const CacheRecord& record, const std::wstring& path) {
    switch (record.kind) {
        case CacheFileKind::Conformed:
            return project::IsWholeConformedFile(path, record.sampleRate);
        case CacheFileKind::Peak:
            return check::IsWholePeakFile(path);
        case CacheFileKind::Vfr:
            break;
    }
    return true;
}

/// Reads a file to its end.
std::optional<std::uint64_t> ChecksumOf(const CacheRecord& record, const std::wstring& path) {
    const auto proceed = [] { return !Interrupted(); };
    const auto checksum = record.kind == CacheFileKind::Conformed
                              ? project::ConformedFileChecksum(path, proceed)
                              : check::PeakFileChecksum(path, proceed);
    if (Interrupted()) ThrowInterrupted(UNFINISHED);
    return checksum;
}

/// Whether a newer file has replaced the file of the record, which is kept while a program uses it.
bool IsReplaced(const CacheRecord& record) {
    return record.mediaFingerprint == project::MediaDB::ReplacedFingerprint(record.cacheFilename);
}

bool IsOfCurrentMedia(const CacheRecord& record) {
    return check::MediaFingerprint(record.mediaPath) == record.mediaFingerprint;
}

/// The verdict on a file with a correct header and length.
Verdict DeepVerdict(const CacheRecord& record, const std::wstring& path) {
    const bool isOurs = record.kind != CacheFileKind::Vfr;
    if (isOurs) {
        const std::optional<std::uint64_t> checksum = ChecksumOf(record, path);
        if (!checksum) return {&BROKEN, "a part of it cannot be read"};
        if (record.checksum && *checksum != *record.checksum) {
            return {&BROKEN, "its bytes have changed since it was written"};
        }
    }
    if (!IsReplaced(record) && !IsOfCurrentMedia(record)) return {&STALE, {}};
    return isOurs && !record.checksum ? Verdict{&NO_CHECKSUM, {}} : Verdict{};
}

Verdict VerdictOn(const CacheEntry& entry, const CachePaths& paths, bool deep) {
    if (entry.state == CacheEntry::State::Missing) return {&MISSING, {}};
    if (entry.state == CacheEntry::State::Orphan) return {&ORPHANS, {}};
    const std::wstring path = WidePath(CacheFilePath(paths, entry.file));
    if (!IsWhole(*entry.record, path)) {
        return {&BROKEN, "its header does not match its length or its record"};
    }
    return deep ? DeepVerdict(*entry.record, path) : Verdict{};
}

/// A file with a reported fault or remark.
struct Finding {
    CacheEntry entry;
    Verdict verdict;
};

std::vector<Finding> CheckAll(const CachePaths& paths, bool deep) {
    std::vector<Finding> findings;
    for (CacheEntry& entry : TakeInventory(paths)) {
        if (Interrupted()) ThrowInterrupted(UNFINISHED);
        Verdict verdict = VerdictOn(entry, paths, deep);
        if (verdict.list != nullptr) findings.push_back({std::move(entry), std::move(verdict)});
    }
    return findings;
}

using EntryKey = std::tuple<CacheEntry::State, std::string, std::wstring, std::wstring, int, int>;

EntryKey KeyOf(const CacheEntry& entry) {
    const CacheRecord record = entry.record.value_or(CacheRecord());
    return {entry.state,        entry.file,       record.mediaPath, record.mediaFingerprint,
            record.streamIndex, record.sampleRate};
}

/// Drops the files that another program has recorded, replaced or removed since they were listed.
void DropChanged(const CachePaths& paths, std::vector<Finding>& findings) {
    if (findings.empty()) return;
    std::set<EntryKey> present;
    for (const CacheEntry& entry : TakeInventory(paths)) present.insert(KeyOf(entry));
    std::erase_if(findings,
                  [&](const Finding& finding) { return !present.contains(KeyOf(finding.entry)); });
}

void Report(const CacheEntry& entry, const Verdict& verdict, Outcome& outcome) {
    Json json = EntryJson(entry);
    outcome.text += std::string(verdict.list->label) + ": " + EntryTextWithoutState(entry);
    if (!verdict.reason.empty()) {
        json["reason"] = verdict.reason;
        outcome.text.insert(outcome.text.size() - 1, "  " + verdict.reason);
    }
    outcome.report[verdict.list->key].Append(json);
}

/// "1 missing, 2 broken": the counts of the lists of faults that are not empty.
std::string FaultsIn(const Json& report, const std::vector<const List*>& lists) {
    std::string text;
    for (const List* list : lists) {
        const std::size_t count = report.Find(list->key)->AsArray().size();
        if (count == 0 || !list->isFault) continue;
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + list->label;
    }
    return text;
}

}  // namespace

Outcome CheckCache(const CachePaths& paths, bool deep) {
    std::vector<const List*> lists{&MISSING, &ORPHANS, &BROKEN};
    if (deep) lists.insert(lists.end(), {&STALE, &NO_CHECKSUM});
    Outcome outcome;
    for (const List* list : lists) outcome.report[list->key] = Json::Array();
    std::vector<Finding> findings = CheckAll(paths, deep);
    DropChanged(paths, findings);
    for (const Finding& finding : findings) Report(finding.entry, finding.verdict, outcome);
    if (outcome.text.empty())
        outcome.text = "every record has a complete file, and every file has a record\n";
    const std::string faults = FaultsIn(outcome.report, lists);
    if (deep && !faults.empty()) {
        outcome.Fail(ExitCode::JobFailed,
                     "the cache has faults: " + faults +
                         "; 'sonrel conform --force' makes a conformed file again, and 'sonrel "
                         "cache clean' removes files");
    }
    return outcome;
}

}  // namespace orlo::host
