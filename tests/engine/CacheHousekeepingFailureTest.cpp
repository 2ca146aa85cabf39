// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "sonrel/engine/Sonrel.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/fakes/FakeMediaDB.h"

namespace {

using orlo::sonrel::Sonrel;
using sonrel_tests::FakeMediaDB;
using sonrel_tests::NamesIn;
using sonrel_tests::ReadFile;
using sonrel_tests::ReadLines;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// An engine on a database in memory in which every record is due.
class CacheHousekeepingFailure : public testing::Test {
protected:
    CacheHousekeepingFailure() {
        db.Reset();
        engine = Create(Sonrel::LogOption::WriteErrorLog);
        db.ForgetCalls();
    }
    ~CacheHousekeepingFailure() override {
        engine.reset();
        db.Reset();
    }

    std::shared_ptr<Sonrel> Create(Sonrel::LogOption log) {
        return Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr, log);
    }

    void AddConformed(const std::string& name, bool withFile = true) {
        if (withFile) WriteFile(folder / "cache" / name, "samples");
        db.conformed.push_back({L"/media/a.mov", L"f", 1, 48000, zrtl::FromUtf8(name)});
        db.conformed.back().streamIndex = static_cast<int>(db.conformed.size());
    }

    /// A file of that name that unlink refuses.
    void MakeUndeletable(const std::string& name) {
        std::filesystem::create_directory(folder / "cache" / name);
    }

    std::vector<std::string> Log() const {
        auto lines = ReadLines(folder / "CacheErrorLog.txt");
        for (auto& line : lines) line.erase(0, 19);
        return lines;
    }

    TemporaryFolder folder;
    FakeMediaDB& db = FakeMediaDB::Instance();
    std::shared_ptr<Sonrel> engine;
};

TEST_F(CacheHousekeepingFailure, TheThreeSearchesRunFirstInOrderAndWithTheSameNumberOfDays) {
    AddConformed("a.xwmc");
    engine->SetDaysToKeepCacheFiles(7);

    engine->ClearCacheFiles();

    EXPECT_THAT(db.Calls(),
                ElementsAre("MediaDB false", "FindUnusedConformedFiles 7", "FindUnusedPeakFiles 7",
                            "FindUnusedVFRCacheFiles 7", "RemoveConformedFile in transaction"));
}

TEST_F(CacheHousekeepingFailure, NegativeDaysArePassedUnchanged) {
    engine->SetDaysToKeepCacheFiles(-2147483647 - 1);

    engine->ClearCacheFiles();

    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB false", "FindUnusedConformedFiles -2147483648",
                                        "FindUnusedPeakFiles -2147483648",
                                        "FindUnusedVFRCacheFiles -2147483648"));
}

TEST_F(CacheHousekeepingFailure, RecordsAreProcessedConformedFirstThenPeaksThenVfrInListOrder) {
    db.vfr.push_back({L"/media/a.mov", L"f", 0, L"c.vfr"});
    db.peaks.push_back({L"/media/a.mov", L"f", 0, L"b.xwpk"});
    AddConformed("a.xwmc");
    db.ForgetCalls();

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    const auto calls = db.Calls();
    ASSERT_THAT(calls, SizeIs(7));
    EXPECT_EQ(calls[4], "RemoveConformedFile in transaction");
    EXPECT_EQ(calls[5], "RemovePeakFile in transaction");
    EXPECT_EQ(calls[6], "RemoveVFRCacheFile in transaction");
}

TEST_F(CacheHousekeepingFailure, ARecordThatIsStampedAfterTheSearchKeepsItsFileAndCounts) {
    AddConformed("a.xwmc");
    AddConformed("b.xwmc");
    WriteFile(folder / "cache" / "c.xwpk", "peaks");
    db.peaks.push_back({L"/media/a.mov", L"f", 0, L"c.xwpk"});
    WriteFile(folder / "cache" / "d.vfr", "vfr");
    db.vfr.push_back({L"/media/a.mov", L"f", 0, L"d.vfr"});
    db.stamped = {L"a.xwmc", L"c.xwpk", L"d.vfr"};

    EXPECT_EQ(engine->ClearCacheFiles(), 4u);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("a.xwmc", "c.xwpk", "d.vfr"));
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].cacheFilename, L"a.xwmc");
    EXPECT_THAT(db.peaks, SizeIs(1));
    EXPECT_THAT(db.vfr, SizeIs(1));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(CacheHousekeepingFailure, AFileThatCannotBeDeletedIsLoggedKeepsItsRecordAndCounts) {
    AddConformed("a.xwmc", false);
    MakeUndeletable("a.xwmc");

    EXPECT_EQ(engine->ClearCacheFiles(), 1u);

    const std::string line =
        "Could not remove conformed file when clearing cache files: /media/a.mov a.xwmc";
    EXPECT_THAT(Log(), ElementsAre(line));
    EXPECT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(engine->ClearCacheFiles(), 1u);
    EXPECT_THAT(Log(), ElementsAre(line, line));
}

TEST_F(CacheHousekeepingFailure, EachKindHasADifferentText) {
    for (const char* name : {"a.xwmc", "b.xwpk", "c.vfr"}) MakeUndeletable(name);
    AddConformed("a.xwmc", false);
    db.peaks.push_back({L"/media/b.mov", L"f", 0, L"b.xwpk"});
    db.vfr.push_back({L"/media/c.mov", L"f", 0, L"c.vfr"});

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    EXPECT_THAT(
        Log(),
        ElementsAre(
            "Could not remove conformed file when clearing cache files: /media/a.mov a.xwmc",
            "Could not remove waveform peak file when clearing cache files: /media/b.mov b.xwpk",
            "Could not remove VFR cache file when clearing cache files: /media/c.mov c.vfr"));
    EXPECT_THAT(db.peaks, SizeIs(1));
    EXPECT_THAT(db.vfr, SizeIs(1));
}

TEST_F(CacheHousekeepingFailure, AFileThatCannotBeDeletedDoesNotStopTheRun) {
    AddConformed("a.xwmc");
    AddConformed("b.xwmc", false);
    MakeUndeletable("b.xwmc");
    AddConformed("c.xwmc");

    EXPECT_EQ(engine->ClearCacheFiles(), 3u);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("b.xwmc"));
    ASSERT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.conformed[0].cacheFilename, L"b.xwmc");
}

TEST_F(CacheHousekeepingFailure, WithoutALogAFailedRemovalIsSilent) {
    engine = Create(Sonrel::LogOption::NoErrorLog);
    AddConformed("a.xwmc", false);
    MakeUndeletable("a.xwmc");

    EXPECT_EQ(engine->ClearCacheFiles(), 1u);

    EXPECT_THAT(NamesIn(folder.Path()), ElementsAre("cache"));
    EXPECT_THAT(db.conformed, SizeIs(1));
}

TEST_F(CacheHousekeepingFailure, ARecordWithoutANameKeepsItsPlaceAndTheFolder) {
    AddConformed("", false);

    EXPECT_EQ(engine->ClearCacheFiles(), 1u);

    EXPECT_THAT(Log(), ElementsAre("Could not remove conformed file when clearing cache files: "
                                   "/media/a.mov "));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "cache"));
    EXPECT_THAT(db.conformed, SizeIs(1));
}

TEST_F(CacheHousekeepingFailure, ALinkIsRemovedAndItsTargetStays) {
    WriteFile(folder / "mine.txt", "mine");
    std::filesystem::create_symlink("../mine.txt", folder / "cache" / "a.xwmc");
    AddConformed("a.xwmc", false);

    EXPECT_EQ(engine->ClearCacheFiles(), 1u);

    EXPECT_THAT(NamesIn(folder / "cache"), IsEmpty());
    EXPECT_EQ(ReadFile(folder / "mine.txt"), "mine");
    EXPECT_THAT(db.conformed, IsEmpty());
}

TEST_F(CacheHousekeepingFailure, ADanglingLinkCountsAsAMissingFile) {
    std::filesystem::create_symlink("nothing", folder / "cache" / "a.xwmc");
    AddConformed("a.xwmc", false);

    EXPECT_EQ(engine->ClearCacheFiles(), 1u);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("a.xwmc"));
    EXPECT_THAT(db.conformed, IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(CacheHousekeepingFailure, AnExceptionOfALaterSearchPropagatesBeforeAnythingIsDeleted) {
    AddConformed("a.xwmc");
    db.Throw("FindUnusedPeakFiles", "database disk image is malformed");

    EXPECT_THROW(engine->ClearCacheFiles(), std::runtime_error);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("a.xwmc"));
    EXPECT_THAT(db.conformed, SizeIs(1));
    EXPECT_EQ(db.OpenConnections(), 0);
}

TEST_F(CacheHousekeepingFailure, AnExceptionOfARemovalPropagatesAndCompletedRemovalsStay) {
    for (const char* name : {"a.xwmc", "b.xwmc", "c.xwmc"}) AddConformed(name);
    db.ThrowAt("RemoveConformedFile", 2, "disk I/O error");

    try {
        engine->ClearCacheFiles();
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "disk I/O error");
    }

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("c.xwmc"));
    EXPECT_THAT(db.conformed, SizeIs(2));
    EXPECT_EQ(db.OpenConnections(), 0);
}

TEST_F(CacheHousekeepingFailure, TheNextRunFinishesTheRestAfterAnException) {
    for (const char* name : {"a.xwmc", "b.xwmc", "c.xwmc"}) AddConformed(name);
    db.ThrowAt("RemoveConformedFile", 2, "disk I/O error");
    EXPECT_THROW(engine->ClearCacheFiles(), std::runtime_error);

    EXPECT_EQ(engine->ClearCacheFiles(), 2u);

    EXPECT_THAT(NamesIn(folder / "cache"), IsEmpty());
    EXPECT_THAT(db.conformed, IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(CacheHousekeepingFailure, WithoutAConnectionNothingIsDeleted) {
    AddConformed("a.xwmc");
    db.Throw("MediaDB", "database is locked");

    EXPECT_EQ(engine->ClearCacheFiles(), 0u);

    EXPECT_THAT(NamesIn(folder / "cache"), ElementsAre("a.xwmc"));
}

}  // namespace
