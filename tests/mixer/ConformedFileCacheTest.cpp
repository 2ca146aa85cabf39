// SPDX-License-Identifier: MIT
// The conformed files that the mixer keeps open, and the order in which it closes them.
#include <gtest/gtest.h>

#include <filesystem>
#include <locale>
#include <set>

#include "tests/support/MixRig.h"

namespace sonrel_tests {
namespace {

/// The files of a folder that this process holds open.
std::multiset<std::string> OpenFiles(const TemporaryFolder& folder) {
    std::multiset<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::filesystem::path target = std::filesystem::read_symlink(entry, gone);
        if (!gone && target.parent_path() == folder.Path()) names.insert(target.filename());
    }
    return names;
}

class ConformedFileCache : public ::testing::Test {
protected:
    /// The left value of the first frame, by which a media file is known; 0 when nothing is read.
    short FirstValue(const std::shared_ptr<project::MediaAsset>& asset) {
        GuardedBuffer buffer(4);
        const int read = rig_.Mixer().GetSamples(asset, 0, 1, buffer.Data(), buffer.Size());
        return read == 1 ? buffer.Value(0, 0) : short{0};
    }
    std::shared_ptr<project::MediaAsset> AddMarked(short mark) {
        return builder_.AddMedia(Constant(10, mark, mark));
    }
    std::vector<std::shared_ptr<project::MediaAsset>> AddAndRead(int count, short firstMark) {
        std::vector<std::shared_ptr<project::MediaAsset>> media;
        for (int i = 0; i < count; ++i) {
            media.push_back(AddMarked(static_cast<short>(firstMark + i)));
            EXPECT_EQ(FirstValue(media.back()), firstMark + i);
        }
        return media;
    }
    static void DeleteFileOf(const std::shared_ptr<project::MediaAsset>& asset) {
        ASSERT_TRUE(
            std::filesystem::remove(zrtl::ToUtf8(asset->AudioStream()->ConformedFilePath())));
    }

    ProjectBuilder builder_;
    MixRig rig_;
};

TEST_F(ConformedFileCache, OpensNothingForAStreamThatIsNotAvailableAndOpensItOnceItIs) {
    const auto asset = AddMarked(5);
    asset->AudioStream()->SetSamplesAvailable(false);

    EXPECT_EQ(FirstValue(asset), 0);
    EXPECT_TRUE(OpenFiles(builder_.Folder()).empty());

    asset->AudioStream()->SetSamplesAvailable(true);
    EXPECT_EQ(FirstValue(asset), 5);
    EXPECT_EQ(OpenFiles(builder_.Folder()).size(), 1u);
}

TEST_F(ConformedFileCache, KeepsAnOpenFileOfAStreamThatIsNoLongerAvailable) {
    const auto asset = AddMarked(5);
    EXPECT_EQ(FirstValue(asset), 5);

    asset->AudioStream()->SetSamplesAvailable(false);

    EXPECT_EQ(FirstValue(asset), 5);
}

TEST_F(ConformedFileCache, OpensAFileOnceForManyReads) {
    const auto asset = AddMarked(5);

    for (int i = 0; i < 5; ++i) EXPECT_EQ(FirstValue(asset), 5);

    EXPECT_EQ(OpenFiles(builder_.Folder()).size(), 1u);
}

TEST_F(ConformedFileCache, TriesAFileThatCannotBeOpenedAgainAtEachRead) {
    const auto asset = AddMarked(5);
    const std::wstring path = asset->AudioStream()->ConformedFilePath();
    const std::string bytes = ReadFile(zrtl::ToUtf8(path));
    DeleteFileOf(asset);
    EXPECT_EQ(FirstValue(asset), 0);
    WriteFile(zrtl::ToUtf8(path), "no conformed file");
    EXPECT_EQ(FirstValue(asset), 0);
    EXPECT_TRUE(OpenFiles(builder_.Folder()).empty());

    WriteFile(zrtl::ToUtf8(path), bytes);

    EXPECT_EQ(FirstValue(asset), 5);
}

TEST_F(ConformedFileCache, HoldsTenFilesAndLetsTheOldestGoForTheEleventh) {
    const auto media = AddAndRead(11, 1);

    EXPECT_EQ(OpenFiles(builder_.Folder()).size(), 10u);
    DeleteFileOf(media[0]);
    DeleteFileOf(media[1]);
    EXPECT_EQ(FirstValue(media[1]), 2);  // still open
    EXPECT_EQ(FirstValue(media[0]), 0);  // closed, and deleted
}

TEST_F(ConformedFileCache, OpensAFileAgainThatItLetGo) {
    const auto media = AddAndRead(11, 1);

    EXPECT_EQ(FirstValue(media[0]), 1);

    EXPECT_EQ(OpenFiles(builder_.Folder()).size(), 10u);
    DeleteFileOf(media[1]);
    EXPECT_EQ(FirstValue(media[1]), 0);  // it had to go for the first
}

TEST_F(ConformedFileCache, KeepsThePlaceOfAFileAmongTheFirstThree) {
    const auto media = AddAndRead(10, 1);
    // Front to back: 10, 9, 8, 7, ... The third stays the third when it is read.
    EXPECT_EQ(FirstValue(media[7]), 8);

    AddAndRead(8, 101);  // after these only 10 and 9 are left

    DeleteFileOf(media[7]);
    DeleteFileOf(media[8]);
    EXPECT_EQ(FirstValue(media[8]), 9);
    EXPECT_EQ(FirstValue(media[7]), 0);
}

TEST_F(ConformedFileCache, MovesAFileFromTheFourthPlaceOnToTheFront) {
    const auto media = AddAndRead(10, 1);
    // Front to back: 10, 9, 8, 7, ... The fourth moves to the front when it is read.
    EXPECT_EQ(FirstValue(media[6]), 7);

    AddAndRead(8, 101);  // after these only 7 and 10 are left

    DeleteFileOf(media[6]);
    DeleteFileOf(media[8]);
    DeleteFileOf(media[9]);
    EXPECT_EQ(FirstValue(media[6]), 7);
    EXPECT_EQ(FirstValue(media[9]), 10);
    EXPECT_EQ(FirstValue(media[8]), 0);
}

TEST_F(ConformedFileCache, FindsAFileByItsPathWithoutRegardToCase) {
    const auto lower = AddMarked(5);
    const std::string bytes = ReadFile(zrtl::ToUtf8(lower->AudioStream()->ConformedFilePath()));
    WriteFile(builder_.Folder() / "take.xwmc", bytes);
    const auto asset = builder_.AddMediaFile(builder_.Folder().Wide("take.xwmc"));
    const auto other = AddMarked(6);
    std::filesystem::rename(zrtl::ToUtf8(other->AudioStream()->ConformedFilePath()),
                            builder_.Folder() / "TAKE.xwmc");
    other->AudioStream()->SetConformedFile(builder_.Folder().Wide("TAKE.xwmc"), 48000);

    EXPECT_EQ(FirstValue(asset), 5);
    EXPECT_EQ(FirstValue(other), 5);

    EXPECT_EQ(OpenFiles(builder_.Folder()).size(), 1u);
}

TEST_F(ConformedFileCache, DistinguishesPathsWithTheSameBeginning) {
    const std::string bytes5 =
        ReadFile(zrtl::ToUtf8(AddMarked(5)->AudioStream()->ConformedFilePath()));
    const std::string bytes6 =
        ReadFile(zrtl::ToUtf8(AddMarked(6)->AudioStream()->ConformedFilePath()));
    WriteFile(builder_.Folder() / "take", bytes5);
    WriteFile(builder_.Folder() / "take2", bytes6);

    EXPECT_EQ(FirstValue(builder_.AddMediaFile(builder_.Folder().Wide("take"))), 5);
    EXPECT_EQ(FirstValue(builder_.AddMediaFile(builder_.Folder().Wide("take2"))), 6);
}

/// Sets the global C++ locale for a scope.
class GlobalLocale {
public:
    explicit GlobalLocale(const char* name) : before_(std::locale::global(std::locale(name))) {}
    ~GlobalLocale() { std::locale::global(before_); }

private:
    std::locale before_;
};

TEST_F(ConformedFileCache, FoldsCaseByTheGlobalLocale) {
    const std::string bytes5 =
        ReadFile(zrtl::ToUtf8(AddMarked(5)->AudioStream()->ConformedFilePath()));
    const std::string bytes6 =
        ReadFile(zrtl::ToUtf8(AddMarked(6)->AudioStream()->ConformedFilePath()));
    WriteFile(builder_.Folder() / zrtl::ToUtf8(L"\u00E4.xwmc"), bytes5);
    WriteFile(builder_.Folder() / zrtl::ToUtf8(L"\u00C4.xwmc"), bytes6);
    const auto lower = builder_.AddMediaFile(builder_.Folder().Wide(zrtl::ToUtf8(L"\u00E4.xwmc")));
    const auto upper = builder_.AddMediaFile(builder_.Folder().Wide(zrtl::ToUtf8(L"\u00C4.xwmc")));

    EXPECT_EQ(FirstValue(lower), 5);
    EXPECT_EQ(FirstValue(upper), 6);  // the classic locale folds ASCII only
    const GlobalLocale unicode("C.UTF-8");
    EXPECT_EQ(FirstValue(lower), 6);  // the front is the upper-case file, and now it matches
}

}  // namespace
}  // namespace sonrel_tests
