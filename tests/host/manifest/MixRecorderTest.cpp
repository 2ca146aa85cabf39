// SPDX-License-Identifier: MIT
#include "host/manifest/MixRecorder.h"

#include <gtest/gtest.h>

#include "host/manifest/Manifest.h"
#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

class MixRecorderTest : public testing::Test {
protected:
    void SetUp() override {
        sonrel_tests::WriteFile(folder_ / "edit.otio", "{}");
        sonrel_tests::WriteFile(folder_ / "a.wav", "abc");
        media_.push_back({{(folder_ / "a.wav").string(), {}}, {}, {}, nullptr, {}});
        media_.push_back({{(folder_ / "missing.wav").string(), {}}, {}, {}, nullptr, {}});
        media_.back().isMissing = true;
    }

    Json Finish(MixRecorder& recorder) {
        Progress progress(ProgressMode::None, true);
        return recorder.Finish(
            {}, {}, media_, [](const MediaUse&) { return Json::Array(); }, progress);
    }

    MixRecorder Recorder() const {
        return MixRecorder(global_, (folder_ / "mix.json").string(),
                           (folder_ / "edit.otio").string());
    }

    template <typename Work>
    static std::string MessageOf(const Work& work) {
        try {
            work();
            return {};
        } catch (const JobError& error) {
            return error.what();
        }
    }

    std::string MessageOfFinish(MixRecorder& recorder) {
        return MessageOf([&] { Finish(recorder); });
    }

    const sonrel_tests::TemporaryFolder folder_;
    const GlobalOptions global_{};
    std::vector<MediaUse> media_;
};

TEST_F(MixRecorderTest, HashesTheMediaFilesThatExist) {
    MixRecorder recorder = Recorder();
    recorder.Begin(media_);

    const Json manifest = Finish(recorder);

    const Json::Items& media = manifest.Find("media")->AsArray();
    EXPECT_EQ(media[0].Find("sha256")->AsString(),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(media[0].Find("size")->AsInteger(), 3);
    EXPECT_TRUE(media[1].Find("sha256")->IsNull());
    EXPECT_EQ(manifest.Find("checksum")->AsString(), ManifestChecksum(manifest));
}

TEST_F(MixRecorderTest, AMediaFileThatChangesDuringTheMixIsAnError) {
    MixRecorder recorder = Recorder();
    recorder.Begin(media_);
    sonrel_tests::WriteFile(folder_ / "a.wav", "abcd");

    EXPECT_NE(MessageOfFinish(recorder).find("a.wav' changed while it was mixed"),
              std::string::npos);
}

TEST_F(MixRecorderTest, AMediaFileThatCannotBeExaminedIsAnError) {
    std::filesystem::remove(folder_ / "a.wav");
    MixRecorder recorder = Recorder();

    EXPECT_EQ(MessageOf([&] { recorder.Begin(media_); }),
              "cannot read '" + (folder_ / "a.wav").string() + "': No such file or directory");
}

TEST_F(MixRecorderTest, ATimelineThatChangesDuringTheMixIsAnError) {
    MixRecorder recorder = Recorder();
    recorder.Begin(media_);
    sonrel_tests::WriteFile(folder_ / "edit.otio", "[]");

    EXPECT_NE(MessageOfFinish(recorder).find("edit.otio' changed while it was mixed"),
              std::string::npos);
}

TEST(ManifestPaths, AreRelativeToTheFolderOfTheManifestWithoutLinks) {
    const sonrel_tests::TemporaryFolder folder;
    std::filesystem::create_directories(folder / "real/manifests");
    std::filesystem::create_directory(folder / "edits");
    std::filesystem::create_directory_symlink(folder / "real/manifests", folder / "link");
    const std::string input = (folder / "edits/edit.otio").string();

    EXPECT_EQ(PathFromFolderOf((folder / "mix.json").string(), input), "edits/edit.otio");
    EXPECT_EQ(PathFromFolderOf((folder / "link/mix.json").string(), input),
              "../../edits/edit.otio");
}

}  // namespace
}  // namespace orlo::host
