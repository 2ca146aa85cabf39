// SPDX-License-Identifier: MIT
#include "sonrel/database/CacheLedger.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <vector>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/DatabaseHooks.h"
#include "tests/database/DatabaseKinds.h"
#include "tests/database/FirstVersion.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/Database.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using orlo::project::CacheFileKind;
using orlo::project::CacheLedger;
using orlo::project::CacheRecord;
using orlo::project::IsWholeConformedFile;
using orlo::project::MediaDB;
using sonrel_tests::AsAnyone;
using sonrel_tests::ConformedFileBytes;
using sonrel_tests::MakeVersion1;
using sonrel_tests::NamesIn;
using sonrel_tests::RawDatabase;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

/// Adds four records of all kinds, and sets the time of the database.
void FillDatabase(const std::wstring& path, long long* now) {
    MediaDB database(path, L"", true);
    database.AddVFRCacheFile(L"/m/v.mov", L"cc", 3, L"v.vfr");
    database.AddPeakFile(L"/m/p.wav", L"bb", 2, L"p.xwpk");
    *now = 2000;
    database.AddConformedFile(L"/m/b.wav", L"aa", 1, 48000, L"b.xwmc");
    database.AddConformedFile(L"/m/a.wav", L"aa", 0, 44100, L"a.xwmc");
}

/// Rules that hold for every kind of database.
class CacheLedgerTest : public sonrel_tests::DatabaseOfKind {
protected:
    CacheLedgerTest() {
        orlo::project::SetDatabaseClock([this] { return now_; });
    }
    ~CacheLedgerTest() override { orlo::project::SetDatabaseClock({}); }

    void Fill() { FillDatabase(path_, &now_); }

    long long now_ = 1000;
};
SONREL_FOR_BOTH_DATABASES(CacheLedgerTest);

/// Rules of databases in files.
class SqliteCacheLedgerTest : public testing::Test {
protected:
    SqliteCacheLedgerTest() {
        orlo::project::SetDatabaseClock([this] { return now_; });
    }
    ~SqliteCacheLedgerTest() override {
        orlo::project::SetDatabaseClock({});
        std::filesystem::permissions(folder_.Path(), std::filesystem::perms::owner_all);
    }

    void Fill() { FillDatabase(path_, &now_); }

    TemporaryFolder folder_;
    std::wstring path_ = folder_.Wide("media.db");
    long long now_ = 1000;
};

void ExpectRecord(const CacheRecord& record, CacheFileKind kind, const std::wstring& mediaPath,
                  const std::wstring& fingerprint, int stream, int rate, const std::wstring& name,
                  long long lastUse) {
    EXPECT_EQ(record.kind, kind);
    EXPECT_EQ(record.mediaPath, mediaPath);
    EXPECT_EQ(record.mediaFingerprint, fingerprint);
    EXPECT_EQ(record.streamIndex, stream);
    EXPECT_EQ(record.sampleRate, rate);
    EXPECT_EQ(record.cacheFilename, name);
    EXPECT_EQ(record.lastUseMs, lastUse);
}

TEST_P(CacheLedgerTest, ListsTheRecordsOfOneMediaPathAndKind) {
    Fill();
    MediaDB(path_, L"", false).AddConformedFile(L"/m/b.wav", L"aa", 0, 44100, L"c.xwmc");
    const CacheLedger ledger(path_);

    const std::vector<CacheRecord> records =
        ledger.RecordsOf(CacheFileKind::Conformed, L"/m/b.wav");

    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].cacheFilename, L"c.xwmc");
    ExpectRecord(records[1], CacheFileKind::Conformed, L"/m/b.wav", L"aa", 1, 48000, L"b.xwmc",
                 2000);
    EXPECT_TRUE(ledger.RecordsOf(CacheFileKind::Peak, L"/m/b.wav").empty());
}

TEST_P(CacheLedgerTest, AllRecordsAreListedByKindAndKey) {
    Fill();

    const std::vector<CacheRecord> records = CacheLedger(path_).Records();

    ASSERT_EQ(records.size(), 4u);
    ExpectRecord(records[0], CacheFileKind::Conformed, L"/m/a.wav", L"aa", 0, 44100, L"a.xwmc",
                 2000);
    ExpectRecord(records[1], CacheFileKind::Conformed, L"/m/b.wav", L"aa", 1, 48000, L"b.xwmc",
                 2000);
    ExpectRecord(records[2], CacheFileKind::Peak, L"/m/p.wav", L"bb", 2, 0, L"p.xwpk", 1000);
    ExpectRecord(records[3], CacheFileKind::Vfr, L"/m/v.mov", L"cc", 3, 0, L"v.vfr", 1000);
}

TEST_P(CacheLedgerTest, AChecksumIsListedWithAllItsBits) {
    MediaDB database(path_, L"", true);
    database.AddConformedFile(L"/m/a.wav", L"aa", 0, 44100, L"a.xwmc", 0xFFFFFFFFFFFFFFFF);
    database.AddPeakFile(L"/m/a.wav", L"aa", 0, L"a.xwpk", 0);
    database.AddPeakFile(L"/m/b.wav", L"bb", 0, L"b.xwpk");

    const std::vector<CacheRecord> records = CacheLedger(path_).Records();

    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].checksum, 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(records[1].checksum, 0u);
    EXPECT_EQ(records[2].checksum, std::nullopt);
}

TEST_P(CacheLedgerTest, AReplacedRecordHasTheChecksumOfTheNewFileAndTheOldFileKeepsItsOwn) {
    MediaDB database(path_, L"", true);
    database.AddConformedFile(L"/m/a.wav", L"aa", 0, 44100, L"a.xwmc", 1);
    database.AddPeakFile(L"/m/a.wav", L"aa", 0, L"a.xwpk", 2);

    database.ReplaceConformedFile(L"/m/a.wav", L"aa", 0, 44100, L"b.xwmc", 3);
    database.ReplacePeakFile(L"/m/a.wav", L"aa", 0, L"b.xwpk");

    const std::vector<CacheRecord> records = CacheLedger(path_).Records();
    ASSERT_EQ(records.size(), 4u);
    ExpectRecord(records[0], CacheFileKind::Conformed, L"/m/a.wav", L"aa", 0, 44100, L"b.xwmc",
                 now_);
    EXPECT_EQ(records[0].checksum, 3u);
    ExpectRecord(records[1], CacheFileKind::Conformed, L"/m/a.wav", L"replaced a.xwmc", 0, 44100,
                 L"a.xwmc", 0);
    EXPECT_EQ(records[1].checksum, 1u);
    EXPECT_EQ(records[2].cacheFilename, L"b.xwpk");
    EXPECT_EQ(records[2].checksum, std::nullopt);
    EXPECT_EQ(records[3].cacheFilename, L"a.xwpk");
    EXPECT_EQ(records[3].checksum, 2u);
}

TEST_F(SqliteCacheLedgerTest, ADatabaseOfVersion1IsListedWithoutChecksumsAndUnchanged) {
    MakeVersion1(folder_ / "media.db");
    RawDatabase(folder_ / "media.db")
        .Run(
            "INSERT INTO conformed_file VALUES ('/m/a.wav', 'aa', 1, 48000, 'a.xwmc', 5);"
            "INSERT INTO peak_file VALUES ('/m/a.wav', 'aa', 1, 'a.xwpk', 6)");
    const std::string before = ReadFile(folder_ / "media.db");

    const std::vector<CacheRecord> records = CacheLedger(path_).Records();

    ASSERT_EQ(records.size(), 2u);
    ExpectRecord(records[0], CacheFileKind::Conformed, L"/m/a.wav", L"aa", 1, 48000, L"a.xwmc", 5);
    EXPECT_EQ(records[0].checksum, std::nullopt);
    EXPECT_EQ(records[1].cacheFilename, L"a.xwpk");
    EXPECT_TRUE(ReadFile(folder_ / "media.db") == before);
}

TEST_F(SqliteCacheLedgerTest, AMissingDatabaseIsNotMade) {
    EXPECT_THROW(CacheLedger{path_}, std::runtime_error);
    EXPECT_EQ(NamesIn(folder_.Path()).size(), 0u);
}

TEST_F(SqliteCacheLedgerTest, ListingChangesNothing) {
    Fill();
    const std::string before = ReadFile(folder_ / "media.db");

    now_ = 9000;
    CacheLedger(path_).Records();

    EXPECT_TRUE(ReadFile(folder_ / "media.db") == before);
    EXPECT_EQ(NamesIn(folder_.Path()), std::vector<std::string>{"media.db"});
}

TEST_P(CacheLedgerTest, ARecordOfAnyKindIsRemovedByItsKey) {
    Fill();
    CacheLedger ledger(path_);

    for (const CacheRecord& record : ledger.Records()) {
        EXPECT_TRUE(ledger.Remove(record));
        EXPECT_FALSE(ledger.Remove(record));
    }

    EXPECT_TRUE(ledger.Records().empty());
}

TEST_P(CacheLedgerTest, RemovingDoesNotChangeOtherKeys) {
    Fill();
    CacheLedger ledger(path_);
    CacheRecord other = ledger.Records()[0];
    other.sampleRate = 48000;

    EXPECT_FALSE(ledger.Remove(other));
    EXPECT_EQ(ledger.Records().size(), 4u);
}

TEST_P(CacheLedgerTest, AnUnchangedRecordOfAnyKindIsRemovedInTheWork) {
    Fill();
    CacheLedger ledger(path_);
    int removed = 0;

    for (const CacheRecord& record : ledger.Records()) {
        EXPECT_TRUE(ledger.IfUnchanged(record, [&] { removed += ledger.Remove(record); }));
    }

    EXPECT_EQ(removed, 4);
    EXPECT_TRUE(ledger.Records().empty());
}

TEST_P(CacheLedgerTest, TheWorkOnARecordThatWasUsedReplacedOrRemovedDoesNotRun) {
    Fill();
    CacheLedger ledger(path_);
    const std::vector<CacheRecord> records = ledger.Records();
    MediaDB other(path_, L"", false);
    now_ = 2001;
    other.TouchConformedFile(L"/m/a.wav", L"aa", 0, 44100);
    now_ = 2000;
    other.ReplaceConformedFile(L"/m/b.wav", L"aa", 1, 48000, L"new.xwmc");
    other.RemovePeakFile(L"/m/p.wav", L"bb", 2);

    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_FALSE(ledger.IfUnchanged(records.at(i), [] { FAIL(); })) << i;
    }
}

TEST_P(CacheLedgerTest, AFailureOfTheWorkLeavesTheRecord) {
    Fill();
    CacheLedger ledger(path_);
    const CacheRecord record = ledger.Records().front();

    EXPECT_THROW(ledger.IfUnchanged(record,
                                    [&] {
                                        ledger.Remove(record);
                                        throw std::runtime_error("disk");
                                    }),
                 std::runtime_error);

    EXPECT_EQ(ledger.Records().size(), 4u);
}

TEST_P(CacheLedgerTest, ANameThatLeadsOutOfTheFolderIsListedAsEmpty) {
    MediaDB(path_, L"", true).AddPeakFile(L"/m/p.wav", L"bb", 0, L"../victim");

    EXPECT_EQ(CacheLedger(path_).Records().at(0).cacheFilename, L"");
}

TEST_P(CacheLedgerTest, ANameWithTheEndingOfAnotherKindOfFileIsListedAsEmpty) {
    MediaDB(path_, L"", true).AddConformedFile(L"/m/p.wav", L"bb", 0, 48000, L"notes.txt");
    MediaDB(path_, L"", true).AddPeakFile(L"/m/p.wav", L"bb", 0, L"a.xwmc");

    EXPECT_EQ(CacheLedger(path_).Records().at(0).cacheFilename, L"");
    EXPECT_EQ(CacheLedger(path_).Records().at(1).cacheFilename, L"");
}

TEST_F(SqliteCacheLedgerTest, ADatabaseInAFolderThatCannotBeWrittenIsListed) {
    Fill();
    std::filesystem::permissions(folder_ / "media.db", static_cast<std::filesystem::perms>(0444));
    std::filesystem::permissions(folder_.Path(), static_cast<std::filesystem::perms>(0555));

    const int answer =
        AsAnyone([&] { return static_cast<int>(CacheLedger(path_).Records().size()); });

    EXPECT_EQ(answer, 4);
    EXPECT_EQ(NamesIn(folder_.Path()), std::vector<std::string>{"media.db"});
}

TEST_F(SqliteCacheLedgerTest, ADatabaseOfAnOddNameInAFolderThatCannotBeWrittenIsListed) {
    path_ = folder_.Wide("a b?c=1&d#e%41.db");
    Fill();
    std::filesystem::permissions(folder_.Path(), static_cast<std::filesystem::perms>(0555));

    const int answer =
        AsAnyone([&] { return static_cast<int>(CacheLedger(path_).Records().size()); });

    EXPECT_EQ(answer, 4);
}

TEST_F(SqliteCacheLedgerTest, ARecordOfADatabaseThatCannotBeWrittenIsNotRemoved) {
    Fill();
    std::filesystem::permissions(folder_ / "media.db", static_cast<std::filesystem::perms>(0444));
    std::filesystem::permissions(folder_.Path(), static_cast<std::filesystem::perms>(0555));

    const int answer = AsAnyone([&] {
        CacheLedger ledger(path_);
        try {
            ledger.Remove(ledger.Records()[0]);
            return 1;
        } catch (const std::runtime_error&) {
            return 0;
        }
    });

    EXPECT_EQ(answer, 0);
    EXPECT_EQ(CacheLedger(path_).Records().size(), 4u);
}

TEST_F(SqliteCacheLedgerTest, ChangesInALogThatCannotBeReadAreAFailure) {
    Fill();
    MediaDB database(path_, L"", true);
    database.AddPeakFile(L"/m/q.wav", L"dd", 0, L"q.xwpk");
    std::filesystem::create_directory(folder_ / "copy");
    std::filesystem::copy_file(folder_ / "media.db", folder_ / "copy/media.db");
    std::filesystem::copy_file(folder_ / "media.db-wal", folder_ / "copy/media.db-wal");
    std::filesystem::permissions(folder_ / "copy", static_cast<std::filesystem::perms>(0555));
    constexpr int REFUSED = 50;

    const int answer = AsAnyone([&] {
        try {
            return static_cast<int>(CacheLedger(folder_.Wide("copy/media.db")).Records().size());
        } catch (const std::runtime_error&) {
            return REFUSED;
        }
    });

    EXPECT_EQ(answer, REFUSED) << "a list without the record in the log would be wrong";
}

TEST_F(SqliteCacheLedgerTest, ChangesInTheLogAreListedEvenWithoutLockFiles) {
    MediaDB database(path_, L"", true);
    database.AddPeakFile(L"/m/p.wav", L"bb", 0, L"p.xwpk");
    // A copy that was made while the database was in use. A folder with the name of the lock file
    // prevents locks.
    std::filesystem::create_directory(folder_ / "copy");
    std::filesystem::copy_file(folder_ / "media.db", folder_ / "copy/media.db");
    std::filesystem::copy_file(folder_ / "media.db-wal", folder_ / "copy/media.db-wal");
    std::filesystem::create_directory(folder_ / "copy/media.db-shm");

    EXPECT_EQ(CacheLedger(folder_.Wide("copy/media.db")).Records().size(), 1u);
}

TEST_F(SqliteCacheLedgerTest, AnotherProgramsDatabaseIsRefused) {
    RawDatabase(folder_ / "media.db").Run("CREATE TABLE t (a)");

    EXPECT_THROW(CacheLedger{path_}, std::runtime_error);
}

TEST_F(SqliteCacheLedgerTest, AConformedFileThatOpensIsComplete) {
    WriteFile(folder_ / "whole.xwmc", ConformedFileBytes(10));
    WriteFile(folder_ / "empty.xwmc", ConformedFileBytes(0));
    WriteFile(folder_ / "cut.xwmc", ConformedFileBytes(10).substr(0, 50));

    EXPECT_TRUE(IsWholeConformedFile(folder_.Wide("whole.xwmc")));
    EXPECT_TRUE(IsWholeConformedFile(folder_.Wide("empty.xwmc")));
    EXPECT_FALSE(IsWholeConformedFile(folder_.Wide("cut.xwmc")));
    EXPECT_FALSE(IsWholeConformedFile(folder_.Wide("missing.xwmc")));
}

TEST_F(SqliteCacheLedgerTest, AConformedFileAtAnotherRateIsNotComplete) {
    WriteFile(folder_ / "a.xwmc", ConformedFileBytes(10, 44100));

    EXPECT_TRUE(IsWholeConformedFile(folder_.Wide("a.xwmc"), 44100));
    EXPECT_FALSE(IsWholeConformedFile(folder_.Wide("a.xwmc"), 48000));
}

}  // namespace
