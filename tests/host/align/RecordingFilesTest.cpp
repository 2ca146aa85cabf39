// SPDX-License-Identifier: MIT
#include "host/align/RecordingFiles.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/AnotherProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class RecordingFilesTest : public testing::Test {
protected:
    void Write(const std::string& name) {
        fs::create_directories((folder_ / name).parent_path());
        sonrel_tests::WriteFile(folder_ / name, "x");
    }

    std::string Path(const std::string& name) const { return (folder_ / name).string(); }

    Names Paths(const Names& names) const {
        Names paths;
        for (const std::string& name : names) paths.push_back(Path(name));
        return paths;
    }

    sonrel_tests::TemporaryFolder folder_;
};

TEST_F(RecordingFilesTest, AFolderIsSearchedWithItsSubfoldersInTheOrderOfTheNames) {
    for (const char* name : {"day/c.wav", "day/b/2.MOV", "day/b/1.mov", "day/a.flac"}) Write(name);

    const RecordingFiles files = FindRecordings({Path("day")});

    EXPECT_EQ(files.recordings, Paths({"day/a.flac", "day/b/1.mov", "day/b/2.MOV", "day/c.wav"}));
    EXPECT_TRUE(files.ignored.empty());
}

TEST_F(RecordingFilesTest, OtherFilesTimelinesAndLinksToFoldersAreIgnored) {
    for (const char* name :
         {"day/a.wav", "day/a.XML", "day/noname", "day/cut.otiod/media/b.wav", "other/d.wav"}) {
        Write(name);
    }
    fs::create_directory_symlink(folder_ / "other", folder_ / "day/link");
    fs::create_symlink(folder_ / "other/d.wav", folder_ / "day/d.wav");

    const RecordingFiles files = FindRecordings({Path("day")});

    EXPECT_EQ(files.recordings, Paths({"day/a.wav", "day/d.wav"}));
    EXPECT_EQ(files.ignored, Paths({"day/a.XML", "day/cut.otiod", "day/link", "day/noname"}));
}

TEST_F(RecordingFilesTest, NamesThatBeginWithADotAreSkipped) {
    for (const char* name : {"day/._a.mov", "day/.trash/b.mov", "day/a.mov"}) Write(name);

    const RecordingFiles files = FindRecordings({Path("day")});

    EXPECT_EQ(files.recordings, Paths({"day/a.mov"}));
    EXPECT_TRUE(files.ignored.empty());
}

TEST_F(RecordingFilesTest, AFileOfTheInputsHasAnyNameAndCountsOnce) {
    for (const char* name : {"day/a.wav", "day/.b.dat"}) Write(name);

    const RecordingFiles files =
        FindRecordings({Path("day/a.wav"), Path("day"), Path("day/.b.dat"), Path("missing")});

    EXPECT_EQ(files.recordings, Paths({"day/a.wav", "day/.b.dat", "missing"}));
}

TEST_F(RecordingFilesTest, AFolderThatCannotBeReadIsARecordingWithAnError) {
    for (const char* name : {"day/a.wav", "day/b/c.wav"}) Write(name);
    fs::permissions(folder_ / "day/b", fs::perms::none);
    fs::permissions(folder_.Path(), fs::perms::all);

    const int code = sonrel_tests::AsAnyone([&] {
        const RecordingFiles files = FindRecordings({Path("day")});
        const bool isListed = files.recordings == Paths({"day/a.wav", "day/b"});
        const std::string error =
            "cannot read the folder '" + Path("day/b") + "': Permission denied";
        return isListed && files.errors.at(Path("day/b")) == error ? 0 : 1;
    });
    fs::permissions(folder_ / "day/b", fs::perms::owner_all);

    EXPECT_EQ(code, 0);
}

}  // namespace
}  // namespace orlo::host
