// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/engine/Sonrel.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::MediaDB;
using orlo::sonrel::CacheFolderUse;
using orlo::sonrel::Sonrel;
using sonrel_tests::NamesIn;
using sonrel_tests::ReadLines;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WaitingProcess;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

class CacheHousekeeping : public testing::Test {
protected:
    CacheHousekeeping() {
        engine = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                Sonrel::LogOption::WriteErrorLog);
    }

    void Fill() {
        const auto database = engine->OpenMediaDatabaseConnection();
        database->AddConformedFile(L"/media/a.mov", L"f", 0, 48000, L"a.xwmc");
        database->AddPeakFile(L"/media/a.mov", L"f", 0, L"b.xwpk");
        database->AddVFRCacheFile(L"/media/a.mov", L"f", 0, L"c.vfr");
        for (const char* name : {"a.xwmc", "b.xwpk", "c.vfr", "stranger.bin"}) {
            WriteFile(folder / "cache" / name, "bytes");
        }
    }

    TemporaryFolder folder;
    std::shared_ptr<Sonrel> engine;
};

TEST_F(CacheHousekeeping, RecentlyUsedFilesAreKept) {
    Fill();

    EXPECT_EQ(engine->ClearCacheFiles(), 0u);

    EXPECT_THAT(NamesIn(folder / "cache"),
                ElementsAre("a.xwmc", "b.xwpk", "c.vfr", "stranger.bin"));
}

TEST_F(CacheHousekeeping, WithZeroDaysEveryRecordedFileIsDeletedAndTheFolderStays) {
    Fill();
    engine->SetDaysToKeepCacheFiles(0);

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("stranger.bin"));
    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
}

TEST_F(CacheHousekeeping, NegativeDaysDeleteEverythingToo) {
    Fill();
    engine->SetDaysToKeepCacheFiles(-2147483647 - 1);

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("stranger.bin"));
}

TEST_F(CacheHousekeeping, AMissingFileCountsAndItsRecordIsRemovedWithoutALogLine) {
    Fill();
    std::filesystem::remove(folder / "cache" / "b.xwpk");
    engine->SetDaysToKeepCacheFiles(0);

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
    EXPECT_FALSE(std::filesystem::exists(folder / "CacheErrorLog.txt"));
}

TEST_F(CacheHousekeeping, AFileThatCannotBeDeletedIsTriedAgainAtTheNextRun) {
    Fill();
    std::filesystem::remove(folder / "cache" / "a.xwmc");
    std::filesystem::create_directory(folder / "cache" / "a.xwmc");
    engine->SetDaysToKeepCacheFiles(0);
    EXPECT_EQ(engine->ClearCacheFiles(), 3u);
    std::filesystem::remove(folder / "cache" / "a.xwmc");

    EXPECT_EQ(engine->ClearCacheFiles(), 1u);
    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
    EXPECT_EQ(ReadLines(folder / "CacheErrorLog.txt").size(), 1u);
}

TEST_F(CacheHousekeeping, ARecordThatLeadsOutOfTheFolderDeletesNothing) {
    WriteFile(folder / "mine.txt", "mine");
    const auto database = engine->OpenMediaDatabaseConnection();
    database->AddConformedFile(L"/media/a.mov", L"f", 0, 48000, L"../mine.txt");
    database->AddPeakFile(L"/media/a.mov", L"f", 0, folder.Wide("mine.txt"));
    engine->SetDaysToKeepCacheFiles(0);

    engine->ClearCacheFiles();

    EXPECT_EQ(sonrel_tests::ReadFile(folder / "mine.txt"), "mine");
}

TEST_F(CacheHousekeeping, ARecordThatNamesAnotherFileOfTheFolderDeletesNothing) {
    for (const char* name : {"notes.txt", "b.xwpk", "c.xwmc"}) {
        WriteFile(folder / "cache" / name, "mine");
    }
    const auto database = engine->OpenMediaDatabaseConnection();
    database->AddConformedFile(L"/media/a.mov", L"f", 0, 48000, L"notes.txt");
    database->AddConformedFile(L"/media/a.mov", L"f", 1, 48000, L"b.xwpk");
    database->AddPeakFile(L"/media/a.mov", L"f", 0, L"c.xwmc");
    engine->SetDaysToKeepCacheFiles(0);

    engine->ClearCacheFiles();

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("b.xwpk", "c.xwmc", "notes.txt"));
}

TEST_F(CacheHousekeeping, FilesThatAnotherProcessUsesStayWithTheirRecordsUntilItHasEnded) {
    Fill();
    WaitingProcess other([&] {
        for (const wchar_t* name : {L"a.xwmc", L"b.xwpk", L"c.vfr"}) {
            CacheFolderUse::Mark(folder.Wide("cache"), name);
        }
    });
    ASSERT_TRUE(other.IsReady());
    engine->SetDaysToKeepCacheFiles(0);

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    EXPECT_THAT(NamesIn(folder / "cache"),
                ElementsAre("a.xwmc", "b.xwpk", "c.vfr", "stranger.bin"));
    EXPECT_EQ(ReadLines(folder / "CacheErrorLog.txt").size(), 3u);
    other.Kill();
    EXPECT_EQ(engine->ClearCacheFiles(), 3u) << "the records stayed";
    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("stranger.bin"));
}

TEST_F(CacheHousekeeping, ReleasingTheLastReferenceDeletesDueFiles) {
    Fill();
    engine->SetDaysToKeepCacheFiles(0);
    auto second = engine;
    engine.reset();
    ASSERT_THAT(NamesIn(folder / "cache"), testing::SizeIs(4));

    second.reset();

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("stranger.bin"));
}

TEST_F(CacheHousekeeping, ADeletedDatabaseLeavesTheFolderUnchanged) {
    Fill();
    engine->SetDaysToKeepCacheFiles(0);
    for (const auto& name : NamesIn(folder.Path())) {
        if (name != "cache") std::filesystem::remove(folder / name);
    }

    EXPECT_EQ(engine->ClearCacheFiles(), 0u);

    EXPECT_THAT(NamesIn(folder / "cache"),
                ElementsAre("a.xwmc", "b.xwpk", "c.vfr", "stranger.bin"));
}

}  // namespace
