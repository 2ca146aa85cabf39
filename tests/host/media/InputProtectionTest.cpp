// SPDX-License-Identifier: MIT
#include "host/media/InputProtection.h"

#include <gtest/gtest.h>

#include "host/shell/Errors.h"
#include "sonrel/database/MediaDB.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

class InputProtection : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(folder_ / "cache");
        global_.cacheFolder = folder_ / "cache";
        global_.databaseFile = folder_ / "media.db";
    }

    bool IsRefused(const std::string& name) {
        OutputGuard guard(true);
        ProtectCache(global_, guard);
        try {
            guard.Claim(folder_ / name);
            return false;
        } catch (const UsageError&) {
            return true;
        }
    }

    TemporaryFolder folder_;
    GlobalOptions global_;
};

TEST_F(InputProtection, OtherFilesOfTheCacheFolderArePartOfTheCacheWhenTheDatabaseRecordsThem) {
    project::MediaDB(folder_.Wide("media.db"), folder_.Wide("cache"), true)
        .AddVFRCacheFile(L"/media/v.mp4", L"1", 0, L"frames.dat");
    WriteFile(folder_ / "cache/frames.dat", "x");
    WriteFile(folder_ / "cache/notes.txt", "x");

    EXPECT_TRUE(IsRefused("cache/frames.dat"));
    EXPECT_FALSE(IsRefused("cache/notes.txt"));
}

TEST_F(InputProtection, TheCompanionsOfALinkedDatabaseAreNextToTheTargetOfTheLink) {
    std::filesystem::create_directory(folder_ / "real");
    WriteFile(folder_ / "real/kept.db", "x");
    std::filesystem::create_symlink("real/kept.db", folder_ / "media.db");

    EXPECT_TRUE(IsRefused("media.db"));
    EXPECT_TRUE(IsRefused("real/kept.db"));
    EXPECT_TRUE(IsRefused("real/kept.db-wal"));
    EXPECT_TRUE(IsRefused("real/kept.db-shm"));
}

TEST_F(InputProtection, ACacheThatIsNotUsedIsProtectedToo) {
    global_.noCacheDb = true;

    EXPECT_TRUE(IsRefused("media.db"));
}

TEST_F(InputProtection, TheImagesOfASequenceAreMediaOfItsClip) {
    for (const char* name : {"shot.0001.png", "shot.x.png", "shot.0001.txt"}) {
        WriteFile(folder_ / name, "x");
    }
    otio::TimelineImport import;
    import.media.push_back({folder_.Path(), "clip 'shot' on track 1", { { "shot.", ".png" } }});
    OutputGuard guard(true);

    ProtectTimeline(folder_ / "edit.otio", import, guard);

    EXPECT_THROW(guard.Claim(folder_ / "shot.0001.png"), UsageError);
    EXPECT_NO_THROW(guard.Claim(folder_ / "shot.x.png"));
    EXPECT_NO_THROW(guard.Claim(folder_ / "shot.0001.txt"));
}

TEST_F(InputProtection, AnInvalidDatabaseDoesNotPreventTheProtectionOfTheOtherFiles) {
    WriteFile(folder_ / "media.db", "not a database");
    WriteFile(folder_ / "cache/notes.txt", "x");
    WriteFile(folder_ / "cache/a.xwmc", "x");

    EXPECT_TRUE(IsRefused("media.db"));
    EXPECT_TRUE(IsRefused("cache/a.xwmc"));
    EXPECT_FALSE(IsRefused("cache/notes.txt"));
}

}  // namespace
}  // namespace orlo::host
