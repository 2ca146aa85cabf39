// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sonrel/cache/LogFile.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/fakes/FakeMediaDB.h"

namespace {

using orlo::project::MediaDB;
using orlo::sonrel::Sonrel;
using sonrel_tests::FakeMediaDB;
using sonrel_tests::NamesIn;
using sonrel_tests::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

class SonrelFailure : public testing::Test {
protected:
    SonrelFailure() { db.Reset(); }

    std::shared_ptr<Sonrel> Create(std::string* error = nullptr) {
        return Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), error,
                              Sonrel::LogOption::WriteErrorLog);
    }

    TemporaryFolder folder;
    FakeMediaDB& db = FakeMediaDB::Instance();
};

TEST_F(SonrelFailure, TheDatabaseIsOpenedOnceWithTheFlagSetAndClosedAtOnce) {
    const auto engine = Create();

    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB true"));
    EXPECT_EQ(db.OpenConnections(), 0);
    EXPECT_EQ(db.databasePath, folder.Wide("media.db"));
    EXPECT_EQ(db.cacheFolderPath, folder.Wide("cache"));
}

TEST_F(SonrelFailure, TheStatusOfTheDatabaseIsStoredAndNotQueriedAgain) {
    db.SetStatus(MediaDB::Migrated);
    const auto engine = Create();
    db.SetStatus(MediaDB::None);

    EXPECT_EQ(engine->MediaDatabaseStatus(), MediaDB::Migrated);
    EXPECT_NE(engine->OpenMediaDatabaseConnection(), nullptr);
}

TEST_F(SonrelFailure, ABadStatusMakesAnEngineWithoutConnections) {
    db.SetStatus(MediaDB::None);
    const auto engine = Create();

    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->MediaDatabaseStatus(), MediaDB::None);
    EXPECT_EQ(engine->OpenMediaDatabaseConnection(), nullptr);
    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
    EXPECT_NE(engine->Mixer(), nullptr);
    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB true"));
}

TEST_F(SonrelFailure, AnUnknownStatusIsPassedUnchanged) {
    db.SetStatus(static_cast<MediaDB::DatabaseStatus>(-77));

    const auto engine = Create();

    EXPECT_EQ(static_cast<int>(engine->MediaDatabaseStatus()), -77);
    EXPECT_NE(engine->OpenMediaDatabaseConnection(), nullptr);
}

TEST_F(SonrelFailure, AnExceptionOfTheDatabaseIsTheTextOfTheFailure) {
    db.Throw("MediaDB", "file is not a database");
    std::string error = "before";

    EXPECT_EQ(Create(&error), nullptr);

    EXPECT_EQ(error, "file is not a database");
}

TEST_F(SonrelFailure, WithoutAnErrorArgumentTheTextIsDropped) {
    db.Throw("MediaDB", "file is not a database");

    EXPECT_EQ(Create(nullptr), nullptr);
}

TEST_F(SonrelFailure, TheErrorArgumentIsUnchangedOnSuccess) {
    std::string error = "before";

    EXPECT_NE(Create(&error), nullptr);

    EXPECT_EQ(error, "before");
}

TEST_F(SonrelFailure, EachConnectionIsNewAndHasTheFlagClear) {
    const auto engine = Create();
    db.ForgetCalls();

    const auto first = engine->OpenMediaDatabaseConnection();
    const auto second = engine->OpenMediaDatabaseConnection();

    EXPECT_NE(first, second);
    EXPECT_EQ(db.OpenConnections(), 2);
    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB false", "MediaDB false"));
    EXPECT_EQ(db.databasePath, folder.Wide("media.db"));
    EXPECT_EQ(db.cacheFolderPath, folder.Wide("cache"));
}

TEST_F(SonrelFailure, AConnectionThatFailsIsEmptyAndNotLogged) {
    const auto engine = Create();
    db.Throw("MediaDB", "database is locked");

    EXPECT_EQ(engine->OpenMediaDatabaseConnection(), nullptr);

    EXPECT_THAT(NamesIn(folder.Path()), ElementsAre("cache"));
    EXPECT_EQ(engine->MediaDatabaseStatus(), MediaDB::Ready);
}

TEST_F(SonrelFailure, AnEngineWithoutPathsOpensNoDatabase) {
    Sonrel::Create(L"", folder.Wide("cache"), nullptr, Sonrel::LogOption::WriteErrorLog);
    Sonrel::Create(folder.Wide("media.db"), L"", nullptr, Sonrel::LogOption::WriteErrorLog);

    EXPECT_THAT(db.Calls(), IsEmpty());
    EXPECT_THAT(NamesIn(folder.Path()), IsEmpty());
}

TEST_F(SonrelFailure, DestructionClearsTheCacheFiles) {
    auto engine = Create();
    engine->SetDaysToKeepCacheFiles(12);
    db.ForgetCalls();

    engine.reset();

    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB false", "FindUnusedConformedFiles 12",
                                        "FindUnusedPeakFiles 12", "FindUnusedVFRCacheFiles 12"));
    EXPECT_EQ(db.OpenConnections(), 0);
}

TEST_F(SonrelFailure, DestructionIgnoresTheExceptionsOfClearing) {
    auto engine = Create();
    db.Throw("FindUnusedConformedFiles", "disk I/O error");
    db.ForgetCalls();

    EXPECT_NO_THROW(engine.reset());

    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB false", "FindUnusedConformedFiles 30"));
    EXPECT_EQ(db.OpenConnections(), 0);
}

TEST_F(SonrelFailure, TheMixerOutlivesTheEngineWhileItIsReferenced) {
    auto engine = Create();
    const auto mixer = engine->Mixer();

    engine.reset();

    EXPECT_EQ(mixer->MeterBlockCount(), 0u);
}

}  // namespace
