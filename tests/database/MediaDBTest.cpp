// SPDX-License-Identifier: MIT
#include "sonrel/database/MediaDB.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "sonrel/database/detail/DatabaseHooks.h"
#include "tests/database/DatabaseKinds.h"
#include "tests/database/FirstVersion.h"
#include "tests/database/Times.h"
#include "tests/support/Database.h"
#include "tests/support/NoDescriptors.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::MediaDB;
using sonrel_tests::DAY;
using sonrel_tests::RawDatabase;
using sonrel_tests::TemporaryFolder;

constexpr long long NOON = 1'700'000'000'000;  // milliseconds since 1970

/// Rules that hold for every kind of database.
class MediaDBTest : public sonrel_tests::DatabaseOfKind {
protected:
    MediaDBTest() {
        orlo::project::SetDatabaseClock([this] { return now_; });
    }
    ~MediaDBTest() override { orlo::project::SetDatabaseClock({}); }

    MediaDB Open(bool createAndMigrate = true) { return MediaDB(path_, cache_, createAndMigrate); }

    long long now_ = NOON;
};
SONREL_FOR_BOTH_DATABASES(MediaDBTest);

/// Rules of databases in files.
class SqliteMediaDBTest : public testing::Test {
protected:
    MediaDB Open(bool createAndMigrate = true) {
        return MediaDB(folder_.Wide("media.db"), folder_.Wide("cache"), createAndMigrate);
    }

    TemporaryFolder folder_;
};

TEST(MediaCacheFilePath, FolderAndNameAreJoinedWithOneSlash) {
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(L"/a/b", L"c.xwmc"), L"/a/b/c.xwmc");
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(L"/a/b/", L"c.xwmc"), L"/a/b/c.xwmc");
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(L"/", L"c.xwmc"), L"/c.xwmc");
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(L"", L"c.xwmc"), L"c.xwmc");
}

TEST_P(MediaDBTest, TheFirstConnectionCreatesTheDatabaseAndLaterConnectionsFindIt) {
    EXPECT_EQ(Open().Status(), MediaDB::Created);
    EXPECT_EQ(Open().Status(), MediaDB::Ready);
    EXPECT_EQ(Open(false).Status(), MediaDB::Ready);
}

TEST_F(SqliteMediaDBTest, ADatabaseOfVersion1GetsChecksumsAndKeepsItsRecords) {
    sonrel_tests::MakeVersion1(folder_ / "media.db");
    RawDatabase raw(folder_ / "media.db");
    raw.Run("INSERT INTO conformed_file VALUES ('/m/a.wav', 'aa', 1, 48000, 'a.xwmc', 5)");
    EXPECT_THROW(Open(false), std::runtime_error) << "the first connection migrates";

    MediaDB database = Open();

    EXPECT_EQ(database.Status(), MediaDB::Migrated);
    std::wstring name;
    EXPECT_TRUE(database.GetConformedFilename(L"/m/a.wav", L"aa", 1, 48000, &name));
    EXPECT_EQ(name, L"a.xwmc");
    database.AddPeakFile(L"/m/a.wav", L"aa", 1, L"a.xwpk", 7);
    EXPECT_EQ(raw.Ask("SELECT checksum IS NULL FROM conformed_file"), "1");
    EXPECT_EQ(raw.Ask("SELECT checksum FROM peak_file"), "7");
    EXPECT_EQ(raw.Ask("PRAGMA user_version"), "2");
    EXPECT_EQ(raw.Ask("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Open(false).Status(), MediaDB::Ready);
}

TEST_P(MediaDBTest, LaterConnectionsAreReadyWhileTheFirstIsOpen) {
    const MediaDB first = Open();

    EXPECT_EQ(Open(false).Status(), MediaDB::Ready);
}

TEST_F(SqliteMediaDBTest, ADatabaseUsesAWriteAheadLogAndCarriesMarkAndVersion) {
    Open();

    RawDatabase raw(folder_ / "media.db");
    EXPECT_EQ(raw.Ask("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(raw.Ask("PRAGMA application_id"), std::to_string(0x534E524C));
    EXPECT_EQ(raw.Ask("PRAGMA user_version"), "2");
    EXPECT_EQ(raw.Ask("PRAGMA integrity_check"), "ok");
}

TEST_P(MediaDBTest, AnAddedConformedFileIsFoundByItsWholeKey) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 1, 48000, L"name.xwmc");
    std::wstring name = L"before";

    EXPECT_FALSE(database.GetConformedFilename(L"/m/b.wav", L"ff", 1, 48000, &name));
    EXPECT_FALSE(database.GetConformedFilename(L"/m/a.wav", L"fe", 1, 48000, &name));
    EXPECT_FALSE(database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_FALSE(database.GetConformedFilename(L"/m/a.wav", L"ff", 1, 44100, &name));
    EXPECT_EQ(name, L"before");
    EXPECT_TRUE(database.GetConformedFilename(L"/m/a.wav", L"ff", 1, 48000, &name));
    EXPECT_EQ(name, L"name.xwmc");
}

TEST_P(MediaDBTest, AnAddedPeakFileIsFoundByItsWholeKey) {
    MediaDB database = Open();
    database.AddPeakFile(L"/m/a.wav", L"ff", 1, L"name.xwpk");
    std::wstring name = L"before";

    EXPECT_FALSE(database.GetPeakFilename(L"/m/b.wav", L"ff", 1, &name));
    EXPECT_FALSE(database.GetPeakFilename(L"/m/a.wav", L"fe", 1, &name));
    EXPECT_FALSE(database.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
    EXPECT_EQ(name, L"before");
    EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", 1, &name));
    EXPECT_EQ(name, L"name.xwpk");
}

TEST_P(MediaDBTest, KindsOfRecordsAreSeparate) {
    MediaDB database = Open();
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"name.xwpk");
    database.AddVFRCacheFile(L"/m/a.wav", L"ff", 0, L"name.vfr");
    std::wstring name;

    EXPECT_FALSE(database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_FALSE(database.TouchConformedFile(L"/m/a.wav", L"ff", 0, 48000));
    EXPECT_TRUE(database.RemoveVFRCacheFile(L"/m/a.wav", L"ff", 0));
    EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
}

TEST_P(MediaDBTest, KeysAreCaseSensitive) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"lower.xwmc");
    database.AddConformedFile(L"/m/A.wav", L"ff", 0, 48000, L"upper.xwmc");
    std::wstring name;

    EXPECT_TRUE(database.GetConformedFilename(L"/m/A.wav", L"ff", 0, 48000, &name));
    EXPECT_EQ(name, L"upper.xwmc");
    EXPECT_FALSE(database.GetConformedFilename(L"/m/a.wav", L"FF", 0, 48000, &name));
}

TEST_P(MediaDBTest, PathsOfEveryScriptAreReadUnchanged) {
    MediaDB database = Open();
    const std::wstring path = L"/m/\u00fcml\u00e4ut \u65e5\u672c \U0001F3B5 'quote\" %s\n.wav";
    database.AddPeakFile(path, L"ff", 0, L"\u65e5.xwpk");
    std::wstring name;

    EXPECT_TRUE(database.GetPeakFilename(path, L"ff", 0, &name));
    EXPECT_EQ(name, L"\u65e5.xwpk");
    const auto due = database.FindUnusedPeakFiles(0);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].mediaPath, path);
}

TEST_P(MediaDBTest, NegativeAndExtremeNumbersAreValidKeys) {
    MediaDB database = Open();
    constexpr int MIN = std::numeric_limits<int>::min();
    database.AddConformedFile(L"/m/a.wav", L"", MIN, MIN, L"n.xwmc");
    std::wstring name;

    EXPECT_TRUE(database.GetConformedFilename(L"/m/a.wav", L"", MIN, MIN, &name));
    const auto due = database.FindUnusedConformedFiles(0);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].streamIndex, MIN);
    EXPECT_EQ(due[0].sampleRate, MIN);
}

TEST_P(MediaDBTest, ASecondRecordOfAKeyIsRefusedAndTheFirstIsKept) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"first.xwmc");
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"first.xwpk");
    std::wstring name;

    EXPECT_THROW(database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"second.xwmc"),
                 std::runtime_error);
    EXPECT_THROW(database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"second.xwpk"), std::runtime_error);
    database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name);
    EXPECT_EQ(name, L"first.xwmc");
    database.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name);
    EXPECT_EQ(name, L"first.xwpk");
}

TEST_P(MediaDBTest, RemovingReportsWhetherTheRecordExisted) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"n.xwmc");
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");
    database.AddVFRCacheFile(L"/m/a.wav", L"ff", 0, L"n.vfr");
    std::wstring name;

    EXPECT_FALSE(database.RemoveConformedFile(L"/m/a.wav", L"ff", 0, 44100));
    EXPECT_TRUE(database.RemoveConformedFile(L"/m/a.wav", L"ff", 0, 48000));
    EXPECT_FALSE(database.RemoveConformedFile(L"/m/a.wav", L"ff", 0, 48000));
    EXPECT_FALSE(database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_TRUE(database.RemovePeakFile(L"/m/a.wav", L"ff", 0));
    EXPECT_FALSE(database.RemovePeakFile(L"/m/a.wav", L"ff", 0));
    EXPECT_TRUE(database.RemoveVFRCacheFile(L"/m/a.wav", L"ff", 0));
    EXPECT_FALSE(database.RemoveVFRCacheFile(L"/m/a.wav", L"ff", 0));
}

TEST_P(MediaDBTest, AnEmptyNameIsARecordWithAnEmptyName) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"");
    std::wstring name = L"before";

    EXPECT_TRUE(database.GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_EQ(name, L"");
}

TEST_P(MediaDBTest, ARecordIsUnusedAfterExactlyThatManyDays) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"n.xwmc");
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");
    database.AddVFRCacheFile(L"/m/a.wav", L"ff", 0, L"n.vfr");

    now_ = NOON + 30 * DAY - 1;
    EXPECT_EQ(database.FindUnusedConformedFiles(30).size(), 0u);
    EXPECT_EQ(database.FindUnusedPeakFiles(30).size(), 0u);
    EXPECT_EQ(database.FindUnusedVFRCacheFiles(30).size(), 0u);
    now_ = NOON + 30 * DAY;
    EXPECT_EQ(database.FindUnusedConformedFiles(30).size(), 1u);
    EXPECT_EQ(database.FindUnusedPeakFiles(30).size(), 1u);
    EXPECT_EQ(database.FindUnusedVFRCacheFiles(30).size(), 1u);
    EXPECT_EQ(database.FindUnusedConformedFiles(31).size(), 0u);
}

TEST_P(MediaDBTest, ATouchCountsAsUseNow) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"n.xwmc");
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");

    now_ = NOON + 10 * DAY;
    EXPECT_TRUE(database.TouchConformedFile(L"/m/a.wav", L"ff", 0, 48000));
    EXPECT_FALSE(database.TouchConformedFile(L"/m/a.wav", L"ff", 1, 48000));
    EXPECT_TRUE(database.TouchPeakFile(L"/m/a.wav", L"ff", 0));
    EXPECT_FALSE(database.TouchPeakFile(L"/m/b.wav", L"ff", 0));

    now_ = NOON + 11 * DAY - 1;
    EXPECT_EQ(database.FindUnusedConformedFiles(1).size(), 0u);
    EXPECT_EQ(database.FindUnusedPeakFiles(1).size(), 0u);
    now_ = NOON + 11 * DAY;
    EXPECT_EQ(database.FindUnusedConformedFiles(1).size(), 1u);
    EXPECT_EQ(database.FindUnusedPeakFiles(1).size(), 1u);
}

TEST_P(MediaDBTest, ZeroAndNegativeDaysFindEveryRecord) {
    MediaDB database = Open();
    database.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"n.xwmc");
    now_ = NOON + 40 * DAY;
    database.AddConformedFile(L"/m/stamped-in-the-future.wav", L"ff", 0, 48000, L"m.xwmc");
    now_ = NOON;

    for (const int days : {0, -1, -30, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(database.FindUnusedConformedFiles(days).size(), 2u) << days;
    }
}

TEST_P(MediaDBTest, TheLargestNumberOfDaysFindsNothing) {
    MediaDB database = Open();
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");
    now_ = NOON + 100'000 * DAY;

    EXPECT_EQ(database.FindUnusedPeakFiles(std::numeric_limits<int>::max()).size(), 0u);
}

TEST_P(MediaDBTest, ARecordStampedInTheFutureCountsAsUsedNow) {
    MediaDB database = Open();
    now_ = NOON + 40 * DAY;
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");

    now_ = NOON;
    EXPECT_EQ(database.FindUnusedPeakFiles(1).size(), 0u);
    now_ = NOON + 41 * DAY;
    EXPECT_EQ(database.FindUnusedPeakFiles(1).size(), 1u);
}

TEST_P(MediaDBTest, TimesFarFromNowAreStoredUnchanged) {
    MediaDB database = Open();
    now_ = -5 * DAY;  // 1969
    database.AddPeakFile(L"/m/a.wav", L"ff", 0, L"a.xwpk");
    now_ = 253'402'300'799'000;  // the end of the year 9999
    database.AddPeakFile(L"/m/b.wav", L"ff", 0, L"b.xwpk");

    now_ = 0;
    const auto due = database.FindUnusedPeakFiles(5);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].cacheFilename, L"a.xwpk");
}

TEST_P(MediaDBTest, UnusedRecordsHaveTheirFieldsAndTheLongestUnusedIsFirst) {
    MediaDB database = Open();
    now_ = NOON + 2;
    database.AddConformedFile(L"/m/late.wav", L"aa", 3, 44100, L"late.xwmc");
    now_ = NOON + 1;
    database.AddConformedFile(L"/m/early.wav", L"bb", 4, 96000, L"early.xwmc");

    const auto due = database.FindUnusedConformedFiles(0);

    ASSERT_EQ(due.size(), 2u);
    EXPECT_EQ(due[0].mediaPath, L"/m/early.wav");
    EXPECT_EQ(due[0].mediaFingerprint, L"bb");
    EXPECT_EQ(due[0].streamIndex, 4);
    EXPECT_EQ(due[0].sampleRate, 96000);
    EXPECT_EQ(due[0].cacheFilename, L"early.xwmc");
    EXPECT_EQ(due[1].mediaPath, L"/m/late.wav");
}

TEST_P(MediaDBTest, UnusedPeakAndVfrRecordsHaveTheirFields) {
    MediaDB database = Open();
    database.AddPeakFile(L"/m/p.wav", L"aa", 3, L"p.xwpk");
    database.AddVFRCacheFile(L"/m/v.wav", L"bb", 4, L"v.vfr");

    const auto peaks = database.FindUnusedPeakFiles(0);
    const auto vfr = database.FindUnusedVFRCacheFiles(0);

    ASSERT_EQ(peaks.size(), 1u);
    EXPECT_EQ(peaks[0].mediaPath, L"/m/p.wav");
    EXPECT_EQ(peaks[0].mediaFingerprint, L"aa");
    EXPECT_EQ(peaks[0].streamIndex, 3);
    EXPECT_EQ(peaks[0].cacheFilename, L"p.xwpk");
    ASSERT_EQ(vfr.size(), 1u);
    EXPECT_EQ(vfr[0].mediaPath, L"/m/v.wav");
    EXPECT_EQ(vfr[0].mediaFingerprint, L"bb");
    EXPECT_EQ(vfr[0].streamIndex, 4);
    EXPECT_EQ(vfr[0].cacheFilename, L"v.vfr");
}

TEST_F(SqliteMediaDBTest, TheSystemClockIsTheDefault) {
    Open().AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");

    RawDatabase raw(folder_ / "media.db");
    const long long stamp = std::stoll(raw.Ask("SELECT last_use FROM peak_file"));
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    EXPECT_LE(stamp, now);
    EXPECT_GT(stamp, now - 60'000);
}

TEST_P(MediaDBTest, NamesThatLeadOutOfTheFolderAreReadAsEmpty) {
    const std::vector<std::wstring> names = {L".",
                                             L"..",
                                             L"/",
                                             L"../victim",
                                             L"../../etc/passwd",
                                             L"/etc/passwd",
                                             L"a/b",
                                             L"a/",
                                             L"a\\b",
                                             L"..\\a",
                                             std::wstring(L"a\0b", 3),
                                             std::wstring(1, L'\0'),
                                             std::wstring(256, L'x')};
    MediaDB database = Open();
    for (int i = 0; i < static_cast<int>(names.size()); ++i) {
        database.AddConformedFile(L"/m/a.wav", L"ff", i, 48000, names[i]);
        database.AddPeakFile(L"/m/a.wav", L"ff", i, names[i]);
        database.AddVFRCacheFile(L"/m/a.wav", L"ff", i, names[i]);
    }

    for (int i = 0; i < static_cast<int>(names.size()); ++i) {
        std::wstring name = L"before";
        EXPECT_TRUE(database.GetConformedFilename(L"/m/a.wav", L"ff", i, 48000, &name));
        EXPECT_EQ(name, L"") << i;
        name = L"before";
        EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", i, &name));
        EXPECT_EQ(name, L"") << i;
    }
    for (const auto& record : database.FindUnusedConformedFiles(0)) {
        EXPECT_EQ(record.cacheFilename, L"");
    }
    for (const auto& record : database.FindUnusedPeakFiles(0)) {
        EXPECT_EQ(record.cacheFilename, L"");
    }
    for (const auto& record : database.FindUnusedVFRCacheFiles(0)) {
        EXPECT_EQ(record.cacheFilename, L"");
    }
}

TEST_P(MediaDBTest, UnusualNamesInTheFolderAreValid) {
    const std::vector<std::wstring> names = {L"....xwpk",
                                             L"-rf.xwpk",
                                             L" a.xwmc .xwpk",
                                             L"new\nline.xwpk",
                                             L"..a.xwpk",
                                             L"%s.xwpk",
                                             L"'; DROP TABLE peak_file; --.xwpk",
                                             std::wstring(250, L'x') + L".xwpk"};
    MediaDB database = Open();

    for (int i = 0; i < static_cast<int>(names.size()); ++i) {
        std::wstring name;
        database.AddPeakFile(L"/m/a.wav", L"ff", i, names[i]);
        EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", i, &name));
        EXPECT_EQ(name, names[i]);
    }
}

TEST_P(MediaDBTest, ANameWithTheExtensionOfAnotherKindIsReadAsEmpty) {
    MediaDB database = Open();
    for (const wchar_t* name : {L"notes.txt", L"a.XWMC", L"a.xwmc.txt", L"xwmc", L"a.xwpk"}) {
        database.AddConformedFile(L"/m/a.wav", name, 0, 48000, name);
    }
    for (const wchar_t* name : {L"notes.txt", L"a.XWPK", L"a.xwpk~", L"xwpk", L"a.xwmc"}) {
        database.AddPeakFile(L"/m/a.wav", name, 0, name);
    }

    for (const auto& record : database.FindUnusedConformedFiles(0)) {
        std::wstring name = L"before";
        EXPECT_TRUE(
            database.GetConformedFilename(L"/m/a.wav", record.mediaFingerprint, 0, 48000, &name));
        EXPECT_EQ(name, L"");
        EXPECT_EQ(record.cacheFilename, L"");
    }
    for (const auto& record : database.FindUnusedPeakFiles(0)) {
        std::wstring name = L"before";
        EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", record.mediaFingerprint, 0, &name));
        EXPECT_EQ(name, L"");
        EXPECT_EQ(record.cacheFilename, L"");
    }
}

TEST_P(MediaDBTest, ANameOfAVfrCacheFileMayHaveAnyExtension) {
    MediaDB database = Open();
    database.AddVFRCacheFile(L"/m/a.wav", L"ff", 0, L"notes.txt");

    EXPECT_EQ(database.FindUnusedVFRCacheFiles(0)[0].cacheFilename, L"notes.txt");
}

TEST_F(SqliteMediaDBTest, ANameWithInvalidUtf8IsReadAsEmpty) {
    Open();
    RawDatabase(folder_ / "media.db")
        .Run(
            "INSERT INTO peak_file VALUES ('/m/a.wav', 'ff', 0, CAST(x'61FF62' AS TEXT), 0, NULL)");
    MediaDB database = Open(false);
    std::wstring name = L"before";

    EXPECT_TRUE(database.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
    EXPECT_EQ(name, L"");
}

TEST_F(SqliteMediaDBTest, AMediaPathWithInvalidUtf8DoesNotHideOtherRecords) {
    Open();
    RawDatabase(folder_ / "media.db")
        .Run(
            "INSERT INTO peak_file VALUES (CAST(x'2FFF62' AS TEXT), 'ff', 0, 'a.xwpk', 0, NULL),"
            "('/m/b.wav', 'ff', 0, 'b.xwpk', 1, NULL)");

    const auto due = Open(false).FindUnusedPeakFiles(0);

    ASSERT_EQ(due.size(), 2u);
    EXPECT_EQ(due[0].mediaPath, L"/\uFFFDb");
    EXPECT_EQ(due[1].mediaPath, L"/m/b.wav");
}

TEST_F(SqliteMediaDBTest, AJournalDoesNotDeleteTheFileThatItNames) {
    Open();
    RawDatabase(folder_ / "media.db").Run("PRAGMA journal_mode=DELETE");
    sonrel_tests::WriteFile(folder_ / "mine.txt", "mine");
    const std::string name = (folder_ / "mine.txt").string();
    std::uint32_t sum = 0;
    for (const char letter : name) sum += static_cast<unsigned char>(letter);
    const std::string magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::string journal = magic + std::string(11, '\0') + '\4';
    journal.resize(512);
    // A journal ends with the name of the journal of several databases, its length and its sum.
    for (const std::uint32_t number : {static_cast<std::uint32_t>(name.size()), sum}) {
        if (number == name.size()) journal += name;
        for (const int shift : {24, 16, 8, 0}) journal += static_cast<char>(number >> shift & 0xFF);
    }
    sonrel_tests::WriteFile(folder_ / "media.db-journal", journal + magic);

    EXPECT_THROW(Open(), std::runtime_error);

    EXPECT_EQ(sonrel_tests::ReadFile(folder_ / "mine.txt"), "mine");
}

TEST_F(SqliteMediaDBTest, ALinkToADeviceIsRefused) {
    std::filesystem::create_symlink("/dev/null", folder_ / "media.db");
    std::string reason;
    try {
        Open();
    } catch (const std::runtime_error& error) {
        reason = error.what();
    }

    EXPECT_TRUE(reason.ends_with("media.db: this is not a regular file")) << reason;
}

TEST_F(SqliteMediaDBTest, ALackOfDescriptorsIsTheReasonAndNotTheDatabase) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors";
#endif
    Open();
    std::string reason;
    {
        const sonrel_tests::NoDescriptors none;
        try {
            Open();
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
    }

    EXPECT_TRUE(reason.ends_with("media.db: too many files are open")) << reason;
}

TEST_P(MediaDBTest, ARecordOfOneConnectionIsFoundByAnotherAtOnce) {
    MediaDB writer = Open();
    const MediaDB reader = Open(false);
    std::wstring name;

    writer.AddPeakFile(L"/m/a.wav", L"ff", 0, L"n.xwpk");

    EXPECT_TRUE(reader.GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
}

TEST_P(MediaDBTest, NoRecordOfManyThreadsWithSeparateConnectionsIsLost) {
    Open();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            MediaDB database = Open(t % 2 == 0);
            for (int i = 0; i < 25; ++i) {
                database.AddConformedFile(L"/m/a.wav", std::to_wstring(t), i, 48000, L"n.xwmc");
                database.TouchConformedFile(L"/m/a.wav", std::to_wstring(t), i, 48000);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(Open(false).FindUnusedConformedFiles(0).size(), 100u);
}

}  // namespace
