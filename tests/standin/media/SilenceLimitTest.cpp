// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include "sonrel/standin/media/ConversionObserver.h"
#include "sonrel/standin/media/MediaInfo.h"
#include "tests/standin/media/MediaSupport.h"
#include "tests/support/MatroskaBytes.h"

using namespace sonrel_tests;
using zrh::media::ConversionObserver;
using zrh::media::DescribeMedia;
using zrh::media::MediaInfo;

namespace {

/// A picture at 0 and 100 frames of 16-bit sound that begin later.
std::string LateSound(std::uint64_t timeMs, std::size_t fileBytes = 0) {
    return MatroskaFile(SoundTrack(1, "A_PCM/INT/LIT", 1) + PictureTrack(2),
                        {{2, 0, std::string(16, '\0')}, {1, timeMs, NoiseBytes(200)}}, fileBytes);
}

/// A packet of AAC in mono that decodes to 1024 frames of zeros.
const std::string GOOD_PACKET("\0\0\0\x07", 4);
/// A packet that counts as 1024 frames, as every packet of the stream does, and does not decode: it
/// names a channel that the stream does not have.
const std::string BAD_PACKET = "\x0A";

/// A run of equal packets.
struct Run {
    int count;
    const std::string& packet;
};

std::string Aac(const std::vector<Run>& runs) {
    std::vector<MatroskaPacket> packets;
    for (const Run& run : runs) {
        for (int i = 0; i < run.count; ++i) {
            packets.push_back({1, 21 * packets.size(), run.packet});
        }
    }
    return MatroskaFile(SoundTrack(1, "A_AAC", 1, "\x11\x88"), packets);
}

class SilenceLimit : public testing::Test {
protected:
    std::filesystem::path File(const std::string& bytes) const {
        WriteFile(folder_ / "a.mka", bytes);
        return folder_ / "a.mka";
    }

    int Convert(const std::string& bytes, std::string* reason) const {
        const OpenedMedia media(File(bytes));
        const ConversionObserver observer([](long long, long long) { return true; });
        const int code =
            zrh::media::ZRAudioConverter::Convert(media.Audio(), folder_.Wide("out.xwmc"), 48000);
        *reason = observer.Failure();
        return code;
    }

    TemporaryFolder folder_;
};

TEST_F(SilenceLimit, SilenceBeforeTheFirstPacketIsPutInUpToTheLimit) {
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

TEST_F(SilenceLimit, AStreamThatIsRefusedBesideAGoodStreamKeepsItsReason) {
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

TEST_F(SilenceLimit, PacketsThatDoNotDecodeCount) {
    const OpenedMedia media(File(Aac({{1, GOOD_PACKET}, {1000, BAD_PACKET}})));

    EXPECT_EQ(media.PrepareCode(), Code(MediaError::TooMuchSilence));
}

TEST_F(SilenceLimit, FewPacketsThatDoNotDecodeKeepTheirPlace) {
    const OpenedMedia media(File(Aac({{1, GOOD_PACKET}, {9, BAD_PACKET}, {1, GOOD_PACKET}})));

    ASSERT_EQ(media.PrepareCode(), 0);
    EXPECT_EQ(media.Audio()->SampleCount(), 11 * 1024);
}

TEST_F(SilenceLimit, AConversionThatMeetsTooManyBadPacketsStopsWithBothNumbers) {
    std::string reason;

    const int code =
        Convert(Aac({{40, GOOD_PACKET}, {2000, BAD_PACKET}, {40, GOOD_PACKET}}), &reason);

    EXPECT_EQ(code, Code(MediaError::TooMuchSilence));
    EXPECT_NE(reason.find("of silence that is not in it, and at most 1."), std::string::npos)
        << reason;
}

TEST_F(SilenceLimit, FramesThatDecodeAreNotLimited) {
    // 1500 * 1024 * 4 bytes are more than 8 times the file and 1 MiB.
    const std::string bytes = Aac({{1500, GOOD_PACKET}});
    ASSERT_GT(1500LL * 1024 * 4, 8LL * static_cast<long long>(bytes.size()) + 1048576);
    std::string reason;

    EXPECT_EQ(Convert(bytes, &reason), 0);
    EXPECT_EQ(reason, "");
}

}  // namespace
