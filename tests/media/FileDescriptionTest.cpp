// SPDX-License-Identifier: MIT
#include "sonrel/files/FileIdentity.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/InterruptScope.h"
#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;
using zrh::media::InterruptScope;
using zrh::media::MediaInfo;

namespace {

std::int64_t InAnHour() {
    return orlo::files::SystemFileClock() + 3'600'000'000'000;
}

/// Files of the folder that were changed long ago.
class FileDescription : public testing::Test {
protected:
    void SetUp() override {
        orlo::files::fileClock = InAnHour;
        WriteFile(folder_ / "a.wav", WaveFile(1, 2, 48000, 16, samples_));
    }
    void TearDown() override { orlo::files::fileClock = orlo::files::SystemFileClock; }

    /// How often the opening of a file asks whether it is interrupted: once for each read and more.
    int RequestsOfOpening(const std::filesystem::path& path) {
        int requests = 0;
        const InterruptScope scope([&requests] {
            ++requests;
            return false;
        });
        zrh::media::MediaFilePtr file;
        EXPECT_EQ(zrh::media::OpenMediaFile(zrtl::FromUtf8(path.string()), &file), 0);
        return requests;
    }

    const std::string samples_ = NoiseBytes(400);
    TemporaryFolder folder_;
};

}  // namespace

TEST_F(FileDescription, OfAFileThatIsOpenedAgainIsTheSameAndNothingIsRead) {
    ASSERT_EQ(OpenedMedia(folder_ / "a.wav").PrepareCode(), 0);

    EXPECT_EQ(RequestsOfOpening(folder_ / "a.wav"), 1);

    MediaInfo again;
    ASSERT_EQ(zrh::media::DescribeMedia(folder_.Wide("a.wav"), &again), 0);
    EXPECT_EQ(again.format, "wav");
    ASSERT_EQ(again.streams.size(), 1u);
    EXPECT_EQ(again.streams[0].codec, "pcm_s16le");
    EXPECT_EQ(again.streams[0].sampleRate, 48000);
    EXPECT_EQ(again.streams[0].sampleCount, 100);
    const OpenedMedia opened(folder_ / "a.wav");
    EXPECT_EQ(ReadAll(*opened.Audio()), samples_);
}

TEST_F(FileDescription, OfAChangedFileIsMadeAgain) {
    ASSERT_EQ(OpenedMedia(folder_ / "a.wav").PrepareCode(), 0);
    // A header of Sun's format, with 44100 Hz and one channel.
    const char header[] = ".snd\0\0\0\x18\0\0\x01\x92\0\0\0\x03\0\0\xAC\x44\0\0\0\x01";
    WriteFile(folder_ / "a.wav", std::string(header, 24) + NoiseBytes(402));

    MediaInfo changed;
    ASSERT_EQ(zrh::media::DescribeMedia(folder_.Wide("a.wav"), &changed), 0);

    EXPECT_EQ(changed.format, "au");
    ASSERT_EQ(changed.streams.size(), 1u);
    EXPECT_EQ(changed.streams[0].codec, "pcm_s16be");
    EXPECT_EQ(changed.streams[0].sampleRate, 44100);
}

TEST_F(FileDescription, OfAnotherNameOfTheFileIsMadeAgain) {
    std::filesystem::create_hard_link(folder_ / "a.wav", folder_ / "b.mp3");
    ASSERT_EQ(OpenedMedia(folder_ / "a.wav").PrepareCode(), 0);

    EXPECT_GT(RequestsOfOpening(folder_ / "b.mp3"), 1);
}

TEST_F(FileDescription, OfAFileThatHasJustBeenChangedIsMadeAgain) {
    orlo::files::fileClock = orlo::files::SystemFileClock;
    ASSERT_EQ(OpenedMedia(folder_ / "a.wav").PrepareCode(), 0);

    EXPECT_GT(RequestsOfOpening(folder_ / "a.wav"), 1);
}

TEST_F(FileDescription, OfManyOtherFilesReplacesIt) {
    const std::string wave = ReadFile(folder_ / "a.wav");
    ASSERT_NE(OpenedMedia(folder_ / "a.wav").Audio(), nullptr);
    for (int i = 0; i < 512; ++i) {
        const std::filesystem::path other = folder_ / (std::to_string(i) + ".wav");
        WriteFile(other, wave);
        RequestsOfOpening(other);
    }

    EXPECT_GT(RequestsOfOpening(folder_ / "a.wav"), 1);
}

TEST_F(FileDescription, IsNotReturnedAfterAnInterrupt) {
    ASSERT_EQ(OpenedMedia(folder_ / "a.wav").CreateCode(), 0);
    const InterruptScope scope([] { return true; });

    EXPECT_EQ(OpenedMedia(folder_ / "a.wav").CreateCode(), Code(MediaError::Cancelled));
}
