// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include "sonrel/media/ConversionObserver.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/ReadObserver.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/AacPackets.h"
#include "tests/support/MatroskaBytes.h"

using namespace sonrel_tests;
using zrh::media::ConversionObserver;
using zrh::media::DescribeMedia;
using zrh::media::MediaInfo;
using zrh::media::ReadObserver;
using zrh::media::SilenceRefused;

namespace {

/// A picture at 0 and 100 frames of 16-bit sound that start later.
std::string LateSound(std::uint64_t timeMs, std::size_t fileBytes = 0, double hertz = 48000.0) {
    return MatroskaFile(SoundTrack(1, "A_PCM/INT/LIT", 1, {}, hertz) + PictureTrack(2),
                        {{2, 0, std::string(16, '\0')}, {1, timeMs, NoiseBytes(200)}}, fileBytes);
}

std::string TooManyBadPackets() {
    return AacFile({{40, GOOD_PACKET}, {2000, BAD_PACKET}, {40, GOOD_PACKET}});
}

class SilenceLimit : public testing::Test {
protected:
    std::filesystem::path File(const std::string& bytes) const {
        WriteFile(folder_ / "a.mka", bytes);
        return folder_ / "a.mka";
    }

    int Convert(const std::string& bytes, std::string* reason, unsigned int rate = 48000) const {
        const OpenedMedia media(File(bytes));
        std::filesystem::remove(folder_ / "out.xwmc");
        const ConversionObserver observer([](long long, long long) { return true; });
        const int code =
            zrh::media::ZRAudioConverter::Convert(media.Audio(), folder_.Wide("out.xwmc"), rate);
        *reason = observer.Failure();
        return code;
    }

    TemporaryFolder folder_;
};

TEST_F(SilenceLimit, SilenceBeforeTheFirstPacketIsInsertedUpToTheLimit) {
    // (8 * 592 + 1048576) bytes / 4 bytes a frame = 263328 frames = 5486 ms.
    const OpenedMedia media(File(LateSound(5486, 592)));

    ASSERT_EQ(media.PrepareCode(), 0);
    EXPECT_EQ(media.Audio()->SampleCount(), 263328 + 100);
}

TEST_F(SilenceLimit, OneMillisecondMoreIsRefused) {
    const OpenedMedia media(File(LateSound(5487, 592)));

    EXPECT_EQ(media.PrepareCode(), Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, TheLimitGrowsWithEightTimesTheFile) {
    // (8 * 100000 + 1048576) / 4 = 462144 frames = 9628 ms.
    EXPECT_EQ(OpenedMedia(File(LateSound(9628, 100000))).PrepareCode(), 0);
    EXPECT_EQ(OpenedMedia(File(LateSound(9629, 100000))).PrepareCode(),
              Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, TheLimitCountsFramesAtTheStreamsOwnRate) {
    // (8 * 592 + 1048576) / 4 = 263328 frames = 10972 ms at 24000 Hz.
    EXPECT_EQ(OpenedMedia(File(LateSound(10972, 592, 24000.0))).PrepareCode(), 0);
    EXPECT_EQ(OpenedMedia(File(LateSound(10973, 592, 24000.0))).PrepareCode(),
              Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, TheRefusalNamesBothNumbers) {
    MediaInfo info;
    std::string reason;
    const std::string path = File(LateSound(1000000, 100000)).string();

    const int code = DescribeMedia(zrtl::FromUtf8(path), &info, &reason);

    EXPECT_EQ(code, Code(MediaError::TooMuchSilence));
    EXPECT_EQ(reason,
              "it would need 192.0 MB of silence that is not in it, and at most 1.8 MB are put in "
              "(8 times its size and 1 MiB)");
}

TEST_F(SilenceLimit, ARefusedStreamNextToAGoodStreamKeepsItsReason) {
    const std::string bytes = MatroskaFile(
        SoundTrack(1, "A_PCM/INT/LIT", 1) + PictureTrack(2) + SoundTrack(3, "A_PCM/INT/LIT", 1),
        {{2, 0, std::string(16, '\0')}, {1, 0, NoiseBytes(200)}, {3, 1000000, NoiseBytes(200)}},
        100000);
    MediaInfo info;

    ASSERT_EQ(DescribeMedia(zrtl::FromUtf8(File(bytes).string()), &info), 0);

    EXPECT_EQ(info.streams.at(0).error, 0);
    EXPECT_EQ(info.streams.at(2).error, Code(MediaError::TooMuchSilence));
    EXPECT_NE(info.streams.at(2).reason.find("192.0 MB"), std::string::npos);
}

TEST_F(SilenceLimit, ATimeThatOverflowsIsRefused) {
    const OpenedMedia media(File(LateSound(INT64_MAX / 2000000)));

    EXPECT_EQ(media.PrepareCode(), Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, PacketsThatCannotBeDecodedCount) {
    const OpenedMedia media(File(AacFile({{1, GOOD_PACKET}, {1000, BAD_PACKET}})));

    EXPECT_EQ(media.PrepareCode(), Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, FewPacketsThatCannotBeDecodedKeepTheirPosition) {
    const OpenedMedia media(File(AacFile({{1, GOOD_PACKET}, {9, BAD_PACKET}, {1, GOOD_PACKET}})));

    ASSERT_EQ(media.PrepareCode(), 0);
    EXPECT_EQ(media.Audio()->SampleCount(), 11 * 1024);
}

TEST_F(SilenceLimit, AConversionWithTooManyBadPacketsStopsWithBothNumbers) {
    std::string reason;

    const int code = Convert(TooManyBadPackets(), &reason);

    EXPECT_EQ(code, Code(MediaError::TooMuchSilence));
    EXPECT_NE(reason.find("of silence that is not in it, and at most 1."), std::string::npos)
        << reason;
}

/// 300 packets that cannot be decoded are 300 * 1024 frames, the limit of a file of 22528 bytes:
/// (8 * 22528 + 1048576) / 4 = 307200.
const std::vector<PacketRun> AT_THE_LIMIT{{40, GOOD_PACKET}, {300, BAD_PACKET}, {40, GOOD_PACKET}};

TEST_F(SilenceLimit, AConversionInsertsSilenceUpToTheLimit) {
    std::string reason;

    EXPECT_EQ(Convert(AacFile(AT_THE_LIMIT, 22528), &reason), 0);
    EXPECT_EQ(Convert(AacFile(AT_THE_LIMIT, 22526), &reason), Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, TheRateOfAConversionDoesNotCount) {
    std::string reason;

    EXPECT_EQ(Convert(AacFile(AT_THE_LIMIT, 22528), &reason, 96000), 0);
    EXPECT_EQ(Convert(AacFile(AT_THE_LIMIT, 22526), &reason, 24000),
              Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, AReaderWithTooManyBadPacketsStopsWithBothNumbers) {
    const OpenedMedia media(File(TooManyBadPackets()));
    const ReadObserver observer([](long long) { return true; });
    const OpenedMedia watched(folder_ / "a.mka");

    EXPECT_THROW(ReadAll(*media.Audio()), SilenceRefused);
    EXPECT_THROW(ReadAll(*watched.Audio()), SilenceRefused);

    EXPECT_NE(observer.Failure().find("of silence that is not in it, and at most 1."),
              std::string::npos)
        << observer.Failure();
}

TEST_F(SilenceLimit, DecodedFramesAreReadBeforeAndAfterTheLimit) {
    const OpenedMedia media(File(TooManyBadPackets()));
    const auto stream = media.Audio();

    EXPECT_EQ(ReadRange(*stream, 0, 40 * 1024).size(), 40 * 2048u);
    EXPECT_THROW(ReadAll(*stream), SilenceRefused);
    EXPECT_EQ(ReadRange(*stream, 2040 * 1024, 40 * 1024).size(), 40 * 2048u);
}

TEST_F(SilenceLimit, SilentPacketsCountOnceForSeveralReads) {
    // 250 of 1024 frames are 256000; the limit is 262144 and twice the file.
    const OpenedMedia media(
        File(AacFile({{40, GOOD_PACKET}, {250, BAD_PACKET}, {40, GOOD_PACKET}})));

    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ReadAll(*media.Audio()).size(), 330 * 2048u);
        EXPECT_EQ(ReadAll(*OpenedMedia(folder_ / "a.mka").Audio()).size(), 330 * 2048u);
    }
}

TEST_F(SilenceLimit, ReadersOfPartsShareTheLimit) {
    // 300 of 1024 frames are 307200; the limit is 262144 and twice the file of 13 KB.
    const OpenedMedia first(
        File(AacFile({{40, GOOD_PACKET}, {300, BAD_PACKET}, {40, GOOD_PACKET}})));
    const OpenedMedia second(folder_ / "a.mka");

    EXPECT_EQ(ReadRange(*first.Audio(), 0, 190 * 1024).size(), 190 * 2048u);
    EXPECT_THROW(ReadRange(*second.Audio(), 190 * 1024, 190 * 1024), SilenceRefused);
}

TEST_F(SilenceLimit, DecodedFramesAreNotLimited) {
    // 1500 * 1024 * 4 bytes are more than 8 times the file and 1 MiB.
    const std::string bytes = AacFile({{1500, GOOD_PACKET}});
    ASSERT_GT(1500LL * 1024 * 4, 8LL * static_cast<long long>(bytes.size()) + 1048576);
    std::string reason;

    EXPECT_EQ(Convert(bytes, &reason), 0);
    EXPECT_EQ(reason, "");
}

}  // namespace
