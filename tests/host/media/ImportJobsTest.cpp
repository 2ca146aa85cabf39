// SPDX-License-Identifier: MIT
// The media files of a timeline, read by several jobs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>
#include <utility>

#include "host/shell/Errors.h"
#include "host/timeline/Input.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"
#include "tests/support/WaveBytes.h"

namespace {

/// Runs before each look for a media file; empty in most tests.
std::function<void()> beforeStat;

}  // namespace

/// Takes the place of the system call.
int stat(const char* path, struct stat* status) noexcept {
    if (beforeStat) beforeStat();
    return fstatat(AT_FDCWD, path, status, 0);
}

namespace orlo::host {
namespace {

using sonrel_tests::ConformedFileBytes;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

class ImportJobsTest : public testing::TestWithParam<int> {
protected:
    /// Adds a file with some bytes to the media.
    void Add(const std::string& name, const std::string& bytes) {
        WriteFile(folder_ / name, bytes);
        MediaUse use;
        use.location.path = folder_ / name;
        media_.push_back(use);
    }

    /// The error message of the import; empty without an error.
    std::string Import() {
        try {
            ImportMedia(*project_, media_, GetParam());
        } catch (const JobError& error) {
            return error.what();
        }
        return {};
    }

    TemporaryFolder folder_;
    std::vector<MediaUse> media_;
    std::shared_ptr<project::Project> project_ = std::make_shared<project::Project>();
};

INSTANTIATE_TEST_SUITE_P(Jobs, ImportJobsTest, testing::Values(1, 2, 7));

TEST_P(ImportJobsTest, GiveEachUseTheAssetOfItsFileInOrder) {
    for (int i = 0; i < 20; ++i) Add(std::to_string(i) + ".wav", ConformedFileBytes(1000 + i));

    EXPECT_EQ(Import(), "");

    ASSERT_EQ(project_->Assets().All().size(), media_.size());
    for (std::size_t i = 0; i < media_.size(); ++i) {
        EXPECT_EQ(project_->Assets().All()[i], media_[i].asset);
        EXPECT_EQ(media_[i].asset->AudioStream()->NativeSampleCount(), 1000 + static_cast<int>(i));
    }
}

TEST_P(ImportJobsTest, ReportTheFirstFileThatCannotBeRead) {
    for (int i = 0; i < 20; ++i) {
        Add(std::to_string(i) + ".wav", i % 8 < 6 ? ConformedFileBytes(1000) : "no sound");
    }

    const std::string message = Import();

    EXPECT_NE(message.find("/6.wav"), std::string::npos) << message;
    EXPECT_EQ(project_->Assets().All().size(), 0U);
}

TEST_P(ImportJobsTest, AFileThatDisappearedIsAnErrorAndAMissingFileIsSilent) {
    Add("gone.wav", ConformedFileBytes(100));
    Add("missing.wav", ConformedFileBytes(100));
    media_[1].isMissing = true;
    std::filesystem::remove(folder_ / "gone.wav");
    std::filesystem::remove(folder_ / "missing.wav");

    EXPECT_EQ(Import(),
              "cannot read '" + (folder_ / "gone.wav").string() + "': No such file or directory");

    media_.erase(media_.begin());
    EXPECT_EQ(Import(), "");
    EXPECT_FALSE(media_[0].asset->HasAudio());
    EXPECT_EQ(media_[0].fit.silence, MISSING_MEDIA_REASON);
}

TEST(CollectMediaTest, LooksForEachFileOnce) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", ConformedFileBytes(100));
    otio::PlacedClip clip;
    clip.media.path = folder / "a.wav";
    otio::PlacedTrack track;
    track.clips = {clip, clip, clip};
    track.clips[1].sound = zrh::media::SoundChoice::OfStream(1);
    track.clips[2].media.path = folder / "missing.wav";
    // The file disappears when it has been found.
    int looks = 0;
    beforeStat = [&] {
        if (++looks == 2) std::filesystem::remove(folder / "a.wav");
    };

    const std::vector<MediaUse> media = CollectMedia({track});

    beforeStat = nullptr;
    EXPECT_EQ(looks, 2);
    ASSERT_EQ(media.size(), 3U);
    EXPECT_FALSE(media[0].isMissing);
    EXPECT_FALSE(media[1].isMissing);
    EXPECT_TRUE(media[2].isMissing);
    const std::vector<MediaUse> missing = MissingMedia(media);
    ASSERT_EQ(missing.size(), 1U);
    EXPECT_EQ(missing[0].location.path, (folder / "missing.wav").string());
}

using ManyImportJobsTest = ImportJobsTest;

INSTANTIATE_TEST_SUITE_P(Jobs, ManyImportJobsTest, testing::Values(15, 16, 256));

TEST_P(ManyImportJobsTest, OpenAtMost16FilesAtATime) {
    for (int i = 0; i < 40; ++i) Add(std::to_string(i) + ".wav", ConformedFileBytes(100));
    const auto before = sonrel_tests::ThreadNumbers();
    std::size_t helpers = 0;
    bool isCounting = false;
    std::atomic<bool> isCounted = false;
    // This thread looks for its first file when all others exist, and they wait for it.
    beforeStat = [&, caller = std::this_thread::get_id()] {
        if (std::this_thread::get_id() != caller) {
            while (!isCounted) std::this_thread::yield();
        } else if (!std::exchange(isCounting, true)) {
            helpers = sonrel_tests::CountNew(sonrel_tests::ThreadNumbers(), before);
            isCounted = true;
        }
    };

    EXPECT_EQ(Import(), "");

    beforeStat = nullptr;
    EXPECT_EQ(helpers, static_cast<std::size_t>(std::min(GetParam(), 16) - 1));
}

}  // namespace
}  // namespace orlo::host
