// SPDX-License-Identifier: MIT
// Any bytes as a media database: it is opened, searched, added to and cleaned. A failure is an
// exception with a text, and no record names a file outside the cache folder or of another kind.
#include <stdexcept>
#include <vector>

#include "fuzz/Support.h"
#include "sonrel/database/CacheLedger.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/DatabaseHooks.h"

namespace {

namespace project = orlo::project;
using project::MediaDB;
using sonrel_fuzz::Choices;
using sonrel_fuzz::Require;

constexpr int MAX_RECORDS = 8;

/// Runs one operation, which may fail only with a text.
template <class Work>
void Try(const Work& work) {
    try {
        work();
    } catch (const std::runtime_error& error) {
        Require(error.what()[0] != '\0', "a failure has a text");
    }
}

void CheckName(const std::wstring& name, const std::wstring& ending) {
    if (name.empty()) return;
    Require(name.find_first_of(L"/\\") == std::wstring::npos && name != L"." && name != L"..",
            "a record names a file in the cache folder");
    Require(name.ends_with(ending), "a record names a file of its kind");
}

/// One table of the database, through the operations that all kinds of cache files have.
void UseConformed(MediaDB& db, const MediaDB::ConformedFile& record) {
    std::wstring name;
    Try([&] {
        db.GetConformedFilename(record.mediaPath, record.mediaFingerprint, record.streamIndex,
                                record.sampleRate, &name);
        CheckName(name, L".xwmc");
    });
    Try([&] {
        db.TouchConformedFile(record.mediaPath, record.mediaFingerprint, record.streamIndex,
                              record.sampleRate);
    });
    Try([&] {
        db.ReplaceConformedFile(record.mediaPath, record.mediaFingerprint, record.streamIndex,
                                record.sampleRate, L"new.xwmc", 7);
    });
    Try([&] {
        db.IfStillUnused(record, 0, [&] {
            db.RemoveConformedFile(record.mediaPath, record.mediaFingerprint, record.streamIndex,
                                   record.sampleRate);
        });
    });
}

void UsePeaks(MediaDB& db, const MediaDB::PeakFile& record) {
    std::wstring name;
    Try([&] {
        db.GetPeakFilename(record.mediaPath, record.mediaFingerprint, record.streamIndex, &name);
        CheckName(name, L".xwpk");
    });
    Try([&] { db.TouchPeakFile(record.mediaPath, record.mediaFingerprint, record.streamIndex); });
    Try([&] {
        db.ReplacePeakFile(record.mediaPath, record.mediaFingerprint, record.streamIndex,
                           L"new.xwpk", 7);
    });
    Try([&] {
        db.IfStillUnused(record, 0, [&] {
            db.RemovePeakFile(record.mediaPath, record.mediaFingerprint, record.streamIndex);
        });
    });
}

void UseVfr(MediaDB& db, const MediaDB::VFRCacheFile& record) {
    Try([&] {
        db.IfStillUnused(record, 0, [&] {
            db.RemoveVFRCacheFile(record.mediaPath, record.mediaFingerprint, record.streamIndex);
        });
    });
}

/// Uses the records that a search finds, and checks the names of all.
template <class List, class Use>
void UseEach(const List& list, const std::wstring& ending, const Use& use) {
    int used = 0;
    for (const auto& record : list) {
        CheckName(record.cacheFilename, ending);
        if (used++ < MAX_RECORDS) use(record);
    }
}

void UseDatabase(const std::wstring& path, Choices& choices) {
    MediaDB db(path, {}, choices.Below(4) != 0);
    Require(db.Status() != MediaDB::None, "an open database has a status");
    const int days = choices.Below(2) == 0 ? 0 : choices.Take<std::int32_t>();
    Try([&] { db.AddConformedFile(L"/new.wav", L"1", 0, 48000, L"added.xwmc", 1); });
    Try([&] { db.AddPeakFile(L"/new.wav", L"1", 0, L"added.xwpk"); });
    Try([&] { db.AddVFRCacheFile(L"/new.wav", L"1", 0, L"added"); });
    Try([&] {
        UseEach(db.FindUnusedConformedFiles(days), L".xwmc",
                [&](const auto& record) { UseConformed(db, record); });
    });
    Try([&] {
        UseEach(db.FindUnusedPeakFiles(days), L".xwpk",
                [&](const auto& record) { UsePeaks(db, record); });
    });
    Try([&] {
        UseEach(db.FindUnusedVFRCacheFiles(days), L"",
                [&](const auto& record) { UseVfr(db, record); });
    });
}

void UseLedger(const std::wstring& path) {
    project::CacheLedger ledger(path);
    const std::vector<project::CacheRecord> records = ledger.Records();
    for (const project::CacheRecord& record : records) {
        constexpr const wchar_t* ENDINGS[] = {L".xwmc", L".xwpk", L""};
        CheckName(record.cacheFilename, ENDINGS[static_cast<int>(record.kind)]);
    }
    if (records.empty()) return;
    ledger.RecordsOf(records.front().kind, records.front().mediaPath);
    ledger.Remove(records.back());
}

void RemoveSideFiles(const std::string& path) {
    for (const char* const ending : {"-wal", "-shm", "-journal"}) {
        std::filesystem::remove(path + ending);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // No other process uses the files: a lock stays locked.
    project::SetDatabaseBusyTimeout(0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    const std::string_view bytes = sonrel_fuzz::AllBytes(data, size);
    const sonrel_fuzz::InputFile input(bytes, ".db");
    if (const unsigned int side = choices.Below(16); side < 2) {
        sonrel_tests::WriteFile(input.Path() + (side == 0 ? "-wal" : "-journal"),
                                bytes.substr(size / 2));
    }
    Try([&] { UseLedger(input.Wide()); });
    Try([&] { UseDatabase(input.Wide(), choices); });
    Try([&] { UseLedger(input.Wide()); });
    RemoveSideFiles(input.Path());
    return 0;
}
