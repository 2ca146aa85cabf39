// SPDX-License-Identifier: MIT
#include "sonrel/engine/Sonrel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/mixer/AudioMixer.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::MediaDB;
using orlo::sonrel::Sonrel;
using sonrel_tests::NamesIn;
using sonrel_tests::ReadFile;
using sonrel_tests::ReadLines;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// Works in a folder for the length of a scope.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::filesystem::path& folder)
        : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~WorkingFolder() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_;
};

std::shared_ptr<Sonrel> Create(const std::wstring& database, const std::wstring& cache,
                               std::string* error = nullptr,
                               Sonrel::LogOption log = Sonrel::LogOption::WriteErrorLog) {
    return Sonrel::Create(database, cache, error, log);
}

TEST(Sonrel, WithoutEitherPathThereIsAMixerAndNothingElse) {
    TemporaryFolder folder;
    const std::wstring database = folder.Wide("media.db");
    const std::wstring cache = folder.Wide("cache");
    const std::pair<std::wstring, std::wstring> paths[] = {
        {L"", cache}, {database, L""}, {L"", L""}};
    for (const auto& [databasePath, cachePath] : paths) {
        std::string error = "untouched";

        const auto engine = Create(databasePath, cachePath, &error);

        ASSERT_NE(engine, nullptr);
        EXPECT_EQ(error, "untouched");
        EXPECT_EQ(engine->MediaDatabaseStatus(), 0);
        EXPECT_EQ(engine->MediaCacheFolderPath(), L"");
        EXPECT_EQ(engine->MediaCacheErrorLog(), nullptr);
        EXPECT_EQ(engine->OpenMediaDatabaseConnection(), nullptr);
        EXPECT_NE(engine->Mixer(), nullptr);
        EXPECT_EQ(engine->DaysToKeepCacheFiles(), 30);
        EXPECT_EQ(engine->ClearCacheFiles(), 0u);
    }
    EXPECT_THAT(NamesIn(folder.Path()), IsEmpty());
}

TEST(Sonrel, WithBothPathsThereIsADatabaseALogAndAMixer) {
    TemporaryFolder folder;

    const auto engine = Create(folder.Wide("media.db"), folder.Wide("cache"));

    ASSERT_NE(engine, nullptr);
    EXPECT_NE(engine->MediaDatabaseStatus(), 0);
    EXPECT_EQ(engine->MediaCacheFolderPath(), folder.Wide("cache"));
    EXPECT_NE(engine->MediaCacheErrorLog(), nullptr);
    EXPECT_NE(engine->OpenMediaDatabaseConnection(), nullptr);
    EXPECT_NE(engine->Mixer(), nullptr);
    EXPECT_EQ(engine->DaysToKeepCacheFiles(), 30);
}

TEST(Sonrel, RelativePathsBecomeAbsolute) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "work");
    const WorkingFolder work(folder / "work");

    const auto engine = Create(L"../media.db", L"./a/../cache");

    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->MediaCacheFolderPath(), folder.Wide("work/cache"));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "work/cache"));
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "media.db"));
}

TEST(Sonrel, TheStoredPathsStayValidInAnotherWorkingDirectory) {
    TemporaryFolder folder;
    std::shared_ptr<Sonrel> engine;
    {
        const WorkingFolder work(folder.Path());
        engine = Create(L"media.db", L"cache");
    }

    EXPECT_NE(engine->OpenMediaDatabaseConnection(), nullptr);
}

TEST(Sonrel, ACacheFolderIsCreatedWithAllItsParents) {
    TemporaryFolder folder;

    const auto engine = Create(folder.Wide("media.db"), folder.Wide("a/b/c/d"));

    ASSERT_NE(engine, nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c/d"));
}

TEST(Sonrel, ACacheFolderWithATrailingSlashKeepsItAndStoresFiles) {
    TemporaryFolder folder;

    const auto engine = Create(folder.Wide("media.db"), folder.Wide("cache/"));

    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->MediaCacheFolderPath(), folder.Wide("cache/"));
    EXPECT_EQ(MediaDB::CreateMediaCacheFilePath(engine->MediaCacheFolderPath(), L"a.xwmc"),
              folder.Wide("cache/a.xwmc"));
}

TEST(Sonrel, APlainFileAtTheCacheFoldersPathIsAFailure) {
    TemporaryFolder folder;
    WriteFile(folder / "cache", "mine");
    std::string error;

    EXPECT_EQ(Create(folder.Wide("media.db"), folder.Wide("cache"), &error), nullptr);

    EXPECT_EQ(error, "Cannot create cache folder path");
    EXPECT_EQ(ReadFile(folder / "cache"), "mine");
    EXPECT_THAT(NamesIn(folder.Path()), ElementsAre("cache"));
}

TEST(Sonrel, ACacheFolderBelowAPlainFileIsAFailure) {
    TemporaryFolder folder;
    WriteFile(folder / "file", "mine");
    std::string error;

    EXPECT_EQ(Create(folder.Wide("media.db"), folder.Wide("file/cache"), &error), nullptr);

    EXPECT_EQ(error, "Cannot create cache folder path");
}

TEST(Sonrel, AFailureWithoutAnErrorArgumentIsAnEmptyPointer) {
    TemporaryFolder folder;
    WriteFile(folder / "cache", "mine");

    EXPECT_EQ(Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr), nullptr);
}

TEST(Sonrel, TheFolderOfTheDatabaseIsNotCreated) {
    TemporaryFolder folder;
    std::string error;

    EXPECT_EQ(Create(folder.Wide("missing/media.db"), folder.Wide("cache"), &error), nullptr);

    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

TEST(Sonrel, AFileThatIsNotADatabaseFailsWithItsTextAndIsUnchanged) {
    TemporaryFolder folder;
    const std::string bytes(5000, 'x');
    WriteFile(folder / "media.db", bytes);
    std::string error;

    EXPECT_EQ(Create(folder.Wide("media.db"), folder.Wide("cache"), &error), nullptr);

    EXPECT_THAT(error, HasSubstr("media.db"));
    EXPECT_EQ(ReadFile(folder / "media.db"), bytes);
}

TEST(Sonrel, AnyOtherLogOptionMeansNoLog) {
    for (const int option : {1, 2, -1, 77}) {
        TemporaryFolder folder;

        const auto engine = Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                   static_cast<Sonrel::LogOption>(option));

        EXPECT_EQ(engine->MediaCacheErrorLog(), nullptr) << option;
    }
}

TEST(Sonrel, TheLogIsInTheDatabaseFolderAndIsCreatedByItsFirstLine) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "db");
    WriteFile(folder / "notes.wav", "no sound at all");
    const auto engine = Create(folder.Wide("db/media.db"), folder.Wide("cache"));
    const auto manager = std::make_shared<orlo::project::MediaManager>();
    ASSERT_THAT(NamesIn(folder / "db"), Not(Contains("CacheErrorLog.txt")));

    const std::wstring made = orlo::sonrel::ConformedAudioFileHelper::CreateConformedAudioFile(
        sonrel_tests::MakeMediaAsset(manager, folder.Wide("notes.wav")), 48000,
        engine->MediaCacheFolderPath(), engine->MediaCacheErrorLog(),
        engine->OpenMediaDatabaseConnection(), true);

    EXPECT_EQ(made, L"");
    EXPECT_THAT(ReadLines(folder / "db/CacheErrorLog.txt"), SizeIs(1));
    EXPECT_THAT(NamesIn(folder / "cache"), IsEmpty());
}

TEST(Sonrel, TheNumberOfDaysIsStoredUnchanged) {
    const auto engine = Create(L"", L"");
    for (const int days : {0, -5, 2147483647, -2147483647 - 1}) {
        engine->SetDaysToKeepCacheFiles(days);

        EXPECT_EQ(engine->DaysToKeepCacheFiles(), days);
    }
}

TEST(Sonrel, ADatabaseThatDisappearsLaterGivesEmptyConnectionsAndTheSameStatus) {
    TemporaryFolder folder;
    const auto engine = Create(folder.Wide("media.db"), folder.Wide("cache"));
    const auto status = engine->MediaDatabaseStatus();
    for (const auto& name : NamesIn(folder.Path())) {
        if (name != "cache") std::filesystem::remove(folder / name);
    }

    EXPECT_EQ(engine->OpenMediaDatabaseConnection(), nullptr);

    EXPECT_EQ(engine->MediaDatabaseStatus(), status);
    EXPECT_THAT(NamesIn(folder.Path()), ElementsAre("cache"));
}

TEST(Sonrel, TwoEnginesMayUseOneDatabaseAndOneFolder) {
    TemporaryFolder folder;
    const auto first = Create(folder.Wide("media.db"), folder.Wide("cache"));
    const auto second = Create(folder.Wide("media.db"), folder.Wide("cache"));
    ASSERT_NE(second, nullptr);

    first->OpenMediaDatabaseConnection()->AddConformedFile(L"/media/a.mov", L"f", 0, 48000,
                                                           L"a.xwmc");

    std::wstring name;
    EXPECT_TRUE(second->OpenMediaDatabaseConnection()->GetConformedFilename(L"/media/a.mov", L"f",
                                                                            0, 48000, &name));
    EXPECT_EQ(name, L"a.xwmc");
}

TEST(Sonrel, PathsOutsideAsciiNameTheSameFilesEverywhere) {
    TemporaryFolder folder;

    const auto engine = Create(folder.Wide("Gr\xC3\xB6\xC3\x9F"
                                           "e \xF0\x9F\x8E\xB5.db"),
                               folder.Wide("Zwischenspeicher \xC3\xBC"));

    ASSERT_NE(engine, nullptr);
    EXPECT_THAT(NamesIn(folder.Path()), Contains("Gr\xC3\xB6\xC3\x9F"
                                                 "e \xF0\x9F\x8E\xB5.db"));
    EXPECT_THAT(NamesIn(folder.Path()), Contains("Zwischenspeicher \xC3\xBC"));
}

}  // namespace
