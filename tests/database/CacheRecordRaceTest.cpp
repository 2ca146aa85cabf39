// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "sonrel/database/MediaDB.h"
#include "sonrel/database/detail/DatabaseHooks.h"
#include "tests/database/DatabaseKinds.h"
#include "tests/database/Times.h"
#include "tests/support/AnotherProcess.h"

namespace {

using orlo::project::MediaDB;
using sonrel_tests::DAY;
using sonrel_tests::InAnotherProcess;

constexpr int LOCKED = 50;

/// One record of each kind, 40 days old, and two processes that change them.
class CacheRecordRace : public sonrel_tests::DatabaseOfKind {
protected:
    CacheRecordRace() {
        orlo::project::SetDatabaseClock([this] { return now_; });
        if (!HasDatabase()) return;
        database_.emplace(path_, cache_, true);
        database_->AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"a.xwmc");
        database_->AddPeakFile(L"/m/a.wav", L"ff", 0, L"a.xwpk");
        database_->AddVFRCacheFile(L"/m/a.wav", L"ff", 0, L"a.vfr");
        now_ += 40 * DAY;
    }
    ~CacheRecordRace() override {
        orlo::project::SetDatabaseClock({});
        orlo::project::SetDatabaseBusyTimeout(5000);
    }

    MediaDB Open() { return MediaDB(path_, cache_, true); }

    static bool TouchConformed(MediaDB& database) {
        return database.TouchConformedFile(L"/m/a.wav", L"ff", 0, 48000);
    }
    static bool RemoveConformed(MediaDB& database) {
        return database.RemoveConformedFile(L"/m/a.wav", L"ff", 0, 48000);
    }

    /// Changes the name in the record to @p name, in another process.
    int ReplaceElsewhere(const std::wstring& name) {
        return InAnotherProcess([&] {
            MediaDB theirs = Open();
            RemoveConformed(theirs);
            theirs.AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, name);
            return 0;
        });
    }

    long long now_ = 1'700'000'000'000;
    std::optional<MediaDB> database_;
};
SONREL_FOR_BOTH_DATABASES(CacheRecordRace);

TEST_P(CacheRecordRace, TheWorkRunsForAnUnusedRecordOfEachKind) {
    int runs = 0;
    const auto count = [&] { ++runs; };

    EXPECT_TRUE(database_->IfStillUnused(database_->FindUnusedConformedFiles(30)[0], 30, count));
    EXPECT_TRUE(database_->IfStillUnused(database_->FindUnusedPeakFiles(30)[0], 30, count));
    EXPECT_TRUE(database_->IfStillUnused(database_->FindUnusedVFRCacheFiles(30)[0], 30, count));

    EXPECT_EQ(runs, 3);
}

TEST_P(CacheRecordRace, AReplacedRecordHasTheNewNameAndReturnsTheNameOfAnotherProcess) {
    ASSERT_EQ(ReplaceElsewhere(L"theirs.xwmc"), 0);

    EXPECT_EQ(database_->ReplaceConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"new.xwmc"),
              L"theirs.xwmc");
    EXPECT_EQ(database_->ReplacePeakFile(L"/m/a.wav", L"ff", 0, L"new.xwpk"), L"a.xwpk");

    std::wstring name;
    EXPECT_TRUE(Open().GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_EQ(name, L"new.xwmc");
    EXPECT_TRUE(Open().GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
    EXPECT_EQ(name, L"new.xwpk");
}

TEST_P(CacheRecordRace, AReplacedFileKeepsARecordThatIsUnusedForAnyNumberOfDays) {
    database_->ReplaceConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"new.xwmc");

    const auto unused = database_->FindUnusedConformedFiles(10'000);
    ASSERT_EQ(unused.size(), 1u) << "the new file counts as used";
    EXPECT_EQ(unused[0].cacheFilename, L"a.xwmc");
    EXPECT_EQ(unused[0].mediaFingerprint, MediaDB::ReplacedFingerprint(L"a.xwmc"));
    EXPECT_EQ(unused[0].mediaPath, L"/m/a.wav");
    EXPECT_TRUE(database_->RemoveConformedFile(L"/m/a.wav", MediaDB::ReplacedFingerprint(L"a.xwmc"),
                                               0, 48000));
}

TEST_P(CacheRecordRace, AReplacementWithoutARecordAddsIt) {
    EXPECT_EQ(database_->ReplaceConformedFile(L"/m/b.wav", L"ff", 0, 48000, L"b.xwmc"), L"");

    std::wstring name;
    EXPECT_TRUE(Open().GetConformedFilename(L"/m/b.wav", L"ff", 0, 48000, &name));
    EXPECT_EQ(name, L"b.xwmc");
}

TEST_P(CacheRecordRace, AStampOfAnotherProcessAfterTheSearchKeepsTheFile) {
    const auto due = database_->FindUnusedConformedFiles(30);
    const auto duePeaks = database_->FindUnusedPeakFiles(30);
    ASSERT_EQ(InAnotherProcess([&] {
                  MediaDB theirs = Open();
                  theirs.TouchPeakFile(L"/m/a.wav", L"ff", 0);
                  return TouchConformed(theirs) ? 0 : 1;
              }),
              0);

    EXPECT_FALSE(database_->IfStillUnused(due[0], 30, [] { FAIL() << "the file would be lost"; }));
    EXPECT_FALSE(database_->IfStillUnused(duePeaks[0], 30, [] { FAIL() << "the file is lost"; }));

    std::wstring name;
    EXPECT_TRUE(database_->GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
}

TEST_P(CacheRecordRace, AStampOfAnotherProcessWaitsForTheWorkAndFindsNoRecord) {
    const auto due = database_->FindUnusedConformedFiles(30);
    orlo::project::SetDatabaseBusyTimeout(0);
    const auto stampElsewhere = [this] {
        return InAnotherProcess([this] {
            MediaDB theirs(path_, cache_, false);
            try {
                return TouchConformed(theirs) ? 1 : 0;
            } catch (const std::runtime_error&) {
                return LOCKED;
            }
        });
    };

    EXPECT_TRUE(database_->IfStillUnused(due[0], 30, [&] {
        EXPECT_EQ(stampElsewhere(), LOCKED);
        EXPECT_TRUE(RemoveConformed(*database_));
        EXPECT_EQ(stampElsewhere(), LOCKED);
    }));

    EXPECT_EQ(stampElsewhere(), 0);
}

TEST_P(CacheRecordRace, ARecordThatHasAnotherFileSinceTheSearchIsKept) {
    const auto due = database_->FindUnusedConformedFiles(0);
    ASSERT_EQ(ReplaceElsewhere(L"b.xwmc"), 0);

    EXPECT_FALSE(database_->IfStillUnused(due[0], 0, [] { FAIL() << "the record has changed"; }));
}

TEST_P(CacheRecordRace, TheWorkDoesNotRunForARecordThatIsGoneSinceTheSearch) {
    const auto due = database_->FindUnusedConformedFiles(30);
    RemoveConformed(*database_);

    EXPECT_FALSE(database_->IfStillUnused(due[0], 30, [] { FAIL() << "the record is gone"; }));
}

TEST_P(CacheRecordRace, TheSecondCheckHasTheSameLimitOfDays) {
    const auto due = database_->FindUnusedConformedFiles(30);
    now_ -= 10 * DAY + 1;
    EXPECT_FALSE(database_->IfStillUnused(due[0], 30, [] {}));

    now_ += 1;
    EXPECT_TRUE(database_->IfStillUnused(due[0], 30, [] {}));
}

TEST_P(CacheRecordRace, AnExceptionOfTheWorkUndoesItsChangesAndReachesTheCaller) {
    const auto due = database_->FindUnusedConformedFiles(30);

    EXPECT_THROW(database_->IfStillUnused(due[0], 30,
                                          [&] {
                                              RemoveConformed(*database_);
                                              throw std::domain_error("stop");
                                          }),
                 std::domain_error);

    EXPECT_EQ(database_->FindUnusedConformedFiles(30).size(), 1u);
    EXPECT_TRUE(TouchConformed(*database_));
}

TEST_P(CacheRecordRace, AStaleRecordThatAnotherProcessReplacedIsNotRemoved) {
    std::wstring name;
    ASSERT_TRUE(database_->GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    ASSERT_EQ(ReplaceElsewhere(L"theirs.xwmc"), 0);

    EXPECT_FALSE(RemoveConformed(*database_));

    ASSERT_TRUE(database_->GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    EXPECT_EQ(name, L"theirs.xwmc");
    EXPECT_TRUE(RemoveConformed(*database_));
}

TEST_P(CacheRecordRace, AStalePeakRecordThatAnotherProcessReplacedIsNotRemovedEither) {
    std::wstring name;
    ASSERT_TRUE(database_->GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
    ASSERT_EQ(InAnotherProcess([&] {
                  MediaDB theirs = Open();
                  theirs.RemovePeakFile(L"/m/a.wav", L"ff", 0);
                  theirs.AddPeakFile(L"/m/a.wav", L"ff", 0, L"theirs.xwpk");
                  return 0;
              }),
              0);

    EXPECT_FALSE(database_->RemovePeakFile(L"/m/a.wav", L"ff", 0));

    EXPECT_TRUE(database_->GetPeakFilename(L"/m/a.wav", L"ff", 0, &name));
    EXPECT_EQ(name, L"theirs.xwpk");
}

TEST_P(CacheRecordRace, TheNameOfOneKeyDoesNotAffectAnotherKey) {
    database_->AddConformedFile(L"/m/a.wav", L"ff", 0, 44100, L"other.xwmc");
    std::wstring name;
    ASSERT_TRUE(database_->GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    ASSERT_TRUE(database_->GetConformedFilename(L"/m/a.wav", L"ff", 0, 44100, &name));

    EXPECT_TRUE(RemoveConformed(*database_));
    EXPECT_TRUE(database_->RemoveConformedFile(L"/m/a.wav", L"ff", 0, 44100));
}

TEST_P(CacheRecordRace, AKeyThatWasNeverReadIsRemovedWithAnyName) {
    MediaDB other = Open();

    EXPECT_TRUE(RemoveConformed(other));
}

TEST_P(CacheRecordRace, ARecordThatThisConnectionAddedIsRemovedByIt) {
    std::wstring name;
    ASSERT_TRUE(database_->GetConformedFilename(L"/m/a.wav", L"ff", 0, 48000, &name));
    MediaDB other = Open();
    RemoveConformed(other);

    database_->AddConformedFile(L"/m/a.wav", L"ff", 0, 48000, L"new.xwmc");

    EXPECT_TRUE(RemoveConformed(*database_));
}

TEST_P(CacheRecordRace, ANameThatLeadsOutOfTheFolderIsRememberedAsStored) {
    database_->AddPeakFile(L"/m/b.wav", L"ff", 0, L"../out.xwpk");
    MediaDB other = Open();
    std::wstring name = L"before";
    ASSERT_TRUE(other.GetPeakFilename(L"/m/b.wav", L"ff", 0, &name));
    ASSERT_EQ(name, L"");

    EXPECT_TRUE(other.RemovePeakFile(L"/m/b.wav", L"ff", 0));
}

}  // namespace
