// SPDX-License-Identifier: MIT
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <numbers>
#include <thread>

#include "sonrel/media/ConversionObserver.h"
#include "tests/media/ConversionSupport.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/ResourceLimit.h"

using namespace sonrel_tests;
using zrh::media::ConversionObserver;
using zrh::media::ZRAudioConverter;

namespace {

class AudioConverter : public testing::Test {
protected:
    std::filesystem::path Media(std::string_view bytes) {
        WriteFile(folder_ / "a.wav", bytes);
        return folder_ / "a.wav";
    }

    /// Converts an open stream to a file of the folder.
    int Convert(const OpenedMedia& media, const char* name, unsigned int rate = 48000) {
        return ZRAudioConverter::Convert(media.Audio(), folder_.Wide(name), rate);
    }

    TemporaryFolder folder_;
};

std::string Floats(const std::vector<float>& values) {
    std::string bytes;
    for (const float value : values) bytes += Little(std::bit_cast<std::uint32_t>(value), 4);
    return bytes;
}

std::vector<int> Twice(const std::vector<int>& values) {
    std::vector<int> both;
    for (const int value : values) both.insert(both.end(), {value, value});
    return both;
}

}  // namespace

TEST_F(AudioConverter, StereoOf16BitsOfAnyNumberOfBlocksKeepsItsBits) {
    // The first block has 131061 frames after the header, and each further block 131072.
    const std::string samples = NoiseBytes(4 * 262134);
    for (const std::size_t frames : {131060, 131061, 131062, 262133, 262134}) {
        const std::string some = samples.substr(0, 4 * frames);

        const Conversion conversion(Media(WaveFile(1, 2, 48000, 16, some)), 48000);

        ASSERT_EQ(conversion.Code(), 0) << frames;
        EXPECT_TRUE(conversion.Bytes() == WaveFile(1, 2, 48000, 16, some)) << frames;
    }
}

TEST_F(AudioConverter, StereoOf16BitsAtTheOutputRateKeepsItsBits) {
    const std::string samples = NoiseBytes(4 * 100001);

    const Conversion conversion(Media(WaveFile(1, 2, 48000, 16, samples)), 48000);

    ASSERT_EQ(conversion.Code(), 0);
    EXPECT_TRUE(conversion.Samples() == samples);
}

TEST_F(AudioConverter, FileIsPlainWaveWithSamplesAfter44Bytes) {
    const std::string samples = NoiseBytes(4 * 10);

    const Conversion conversion(Media(WaveFile(1, 2, 44100, 16, samples)), 44100);

    EXPECT_EQ(conversion.Bytes(), WaveFile(1, 2, 44100, 16, samples));
}

TEST_F(AudioConverter, MonoIsCopiedToBothSides) {
    const std::vector<int> values = {0, 1, -1, 1000, -1000, 32767, -32768, 32766};

    const Conversion conversion(Media(WaveFile(1, 1, 48000, 16, Bytes16(values))), 48000);

    EXPECT_EQ(conversion.Values(), Twice(values));
}

TEST_F(AudioConverter, BytesOf8BitsAreScaledTo16) {
    const Conversion conversion(Media(WaveFile(1, 1, 48000, 8, std::string("\x00\x80\xFF\x81", 4))),
                                48000);

    EXPECT_EQ(conversion.Values(), Twice({-32768, 0, 32512, 256}));
}

TEST_F(AudioConverter, SamplesOf24And32BitsAreCut) {
    const std::string of24 = std::string("\xFF\x34\x12\xFF\xFF\xFF\x01\x00\x80", 9);
    const std::string of32 = std::string("\xFF\xFF\x34\x12\xFF\xFF\xFF\xFF\x01\x00\x00\x80", 12);

    const Conversion cut24(Media(WaveFile(1, 1, 48000, 24, of24)), 48000);
    EXPECT_EQ(cut24.Values(), Twice({0x1234, -1, -32768}));
    const Conversion cut32(Media(WaveFile(1, 1, 48000, 32, of32)), 48000);
    EXPECT_EQ(cut32.Values(), Twice({0x1234, -1, -32768}));
}

TEST_F(AudioConverter, FloatsAreRoundedToEvenAndCutAtFullScale) {
    const float step = 1.0f / 32768;
    const std::string samples = Floats({0.5f * step, 1.5f * step, -0.5f * step, -2.5f * step,
                                        0.6f * step, 1.0f, 2.0f, -1.0f, -3.0f, 0.25f});

    const Conversion conversion(Media(WaveFile(3, 1, 48000, 32, samples)), 48000);

    EXPECT_EQ(conversion.Values(), Twice({0, 2, 0, -2, 1, 32767, 32767, -32768, -32768, 8192}));
}

TEST_F(AudioConverter, FourChannelsAreMixedDownWithoutClipping) {
    // Without loudspeakers in the file, four channels are left, right, centre and back. A side is
    // its front + 0.7071 centre + 0.5 back, scaled by 1 / 2.2071.
    const std::vector<int> loudest = {32767, 32767, 32767, 32767};
    const std::vector<int> left = {20000, 0, 0, 0};
    const std::vector<int> back = {0, 0, 0, 20000};

    const Conversion conversion(
        Media(WaveFile(1, 4, 48000, 16, Bytes16(loudest) + Bytes16(left) + Bytes16(back))), 48000);

    const std::vector<int> values = conversion.Values();
    ASSERT_EQ(values.size(), 6u);
    EXPECT_NEAR(values[0], 32767, 1);
    EXPECT_NEAR(values[1], 32767, 1);
    EXPECT_NEAR(values[2], 9062, 1);
    EXPECT_EQ(values[3], 0);
    EXPECT_NEAR(values[4], 4531, 1);
    EXPECT_NEAR(values[5], 4531, 1);
}

TEST_F(AudioConverter, SurroundDropsTheLowFrequencyChannel) {
    // Left, right, centre, low frequency, and two at the back.
    const std::vector<int> low = {0, 0, 0, 30000, 0, 0};
    const std::vector<int> centre = {0, 0, 20000, 0, 0, 0};

    const Conversion conversion(Media(WaveFile(1, 6, 48000, 16, Bytes16(low) + Bytes16(centre))),
                                48000);

    const std::vector<int> values = conversion.Values();
    ASSERT_EQ(values.size(), 4u);
    EXPECT_EQ(values[0], 0);
    EXPECT_EQ(values[1], 0);
    EXPECT_NEAR(values[2], 5858, 1);  // 20000 * 0.7071 / (1 + 0.7071 + 0.7071)
    EXPECT_NEAR(values[3], 5858, 1);
}

TEST_F(AudioConverter, TwoChannelsAreLeftAndRightForAnyLoudspeakers) {
    // The mask declares back left and back right.
    std::string format =
        PcmFormat(0xFFFE, 2, 48000, 16) + Little(22, 2) + Little(16, 2) + Little(0x30, 4) +
        std::string("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 16);
    const std::string samples = NoiseBytes(4 * 100);

    const Conversion conversion(Media(Riff(Chunk("fmt ", format) + Chunk("data", samples))), 48000);

    EXPECT_EQ(conversion.Samples(), samples);
}

TEST_F(AudioConverter, AnotherRateKeepsPitchLevelAndPosition) {
    // A tone of 1000 Hz: at any rate its value at a moment is known.
    std::vector<int> values;
    for (int i = 0; i < 44100; ++i) {
        values.push_back(static_cast<int>(
            std::lround(20000 * std::sin(2 * std::numbers::pi * 1000 * i / 44100.0))));
    }

    const Conversion conversion(Media(WaveFile(1, 1, 44100, 16, Bytes16(values))), 48000);

    const std::vector<int> converted = conversion.Values();
    ASSERT_EQ(converted.size(), 2u * 48000);
    for (int i = 1000; i < 47000; ++i) {
        const double expected = 20000 * std::sin(2 * std::numbers::pi * 1000 * i / 48000.0);
        ASSERT_NEAR(converted[2 * i], expected, 2.0) << i;
        ASSERT_EQ(converted[2 * i], converted[2 * i + 1]) << i;
    }
}

TEST_F(AudioConverter, ConversionOf16BitsToAnotherRateIsRepeatable) {
    const auto media = Media(WaveFile(1, 2, 44100, 16, NoiseBytes(4 * 30000)));

    const Conversion first(media, 48000);
    const Conversion second(media, 48000);

    ASSERT_EQ(first.Code(), 0);
    EXPECT_TRUE(first.Bytes() == second.Bytes());
}

TEST_F(AudioConverter, AStreamWithoutFramesIsConvertedToAFileWithoutFrames) {
    const Conversion conversion(Media(WaveFile(1, 2, 44100, 16, "")), 48000);

    EXPECT_EQ(conversion.Code(), 0);
    EXPECT_EQ(conversion.Bytes(), WaveFile(1, 2, 48000, 16, ""));
}

TEST_F(AudioConverter, AnExistingFileIsNotChanged) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(400))));
    WriteFile(folder_ / "out.xwmc", "mine");

    EXPECT_EQ(Convert(media, "out.xwmc"), Code(MediaError::OutputExists));
    EXPECT_EQ(ReadFile(folder_ / "out.xwmc"), "mine");
}

TEST_F(AudioConverter, LinkIsNotFollowed) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(400))));
    std::filesystem::create_symlink(folder_ / "elsewhere", folder_ / "out.xwmc");

    EXPECT_EQ(Convert(media, "out.xwmc"), Code(MediaError::OutputExists));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "elsewhere"));
}

TEST_F(AudioConverter, MissingFolderFails) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(400))));

    EXPECT_EQ(Convert(media, "no/such/out.xwmc"), Code(MediaError::OutputFailed));
}

TEST_F(AudioConverter, FullDiskFails) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 500000))));
    const FileSizeLimit limit(65536);

    EXPECT_EQ(Convert(media, "out.xwmc"), Code(MediaError::OutputFailed));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

long long AddressSpace() {
    long long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

TEST_F(AudioConverter, ALackOfMemoryForTheResamplerIsAnErrorAndNoCrash) {
    const OpenedMedia media(Media(WaveFile(1, 2, 44100, 16, NoiseBytes(40000))));
    const auto convert = [&] {
        const ResourceLimit limit(RLIMIT_AS, static_cast<rlim_t>(AddressSpace() + (16 << 20)));
        _exit(Convert(media, "out.xwmc") == Code(MediaError::OutOfMemory) ? 0 : 1);
    };

    EXPECT_EXIT(convert(), testing::ExitedWithCode(0), "");
}

#endif

TEST_F(AudioConverter, NoStreamIsInvalid) {
    EXPECT_EQ(ZRAudioConverter::Convert(nullptr, folder_.Wide("out.xwmc"), 48000),
              Code(MediaError::InvalidArgument));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "out.xwmc"));
}

TEST_F(AudioConverter, AnOutputRateOutOfRangeIsRefused) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(400))));

    for (const unsigned int rate : {0u, 63u, 768001u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Convert(media, "out.xwmc", rate), Code(MediaError::OutputRate)) << rate;
    }
    EXPECT_EQ(Convert(media, "low.xwmc", 64), 0);
    EXPECT_EQ(Convert(media, "high.xwmc", 768000), 0);
}

TEST_F(AudioConverter, MoreChannelsThanAnyLayoutAreRefusedBeforeAFileIsMade) {
    const OpenedMedia media(Media(WaveFile(1, 17, 48000, 16, NoiseBytes(34 * 100))));

    EXPECT_EQ(Convert(media, "out.xwmc"), Code(MediaError::TooManyChannels));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "out.xwmc"));
}

TEST_F(AudioConverter, MediaThatIsCutDuringTheConversionFails) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 200000))));
    std::filesystem::resize_file(folder_ / "a.wav", 4 * 100000);

    EXPECT_EQ(Convert(media, "out.xwmc"), Code(MediaError::ReadFailed));
}

TEST_F(AudioConverter, TheObserverReceivesTheProgressInOrder) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 200000))));
    std::vector<long long> done;
    const ConversionObserver observer([&](long long doneFrames, long long totalFrames) {
        EXPECT_EQ(totalFrames, 200000);
        done.push_back(doneFrames);
        return true;
    });

    ASSERT_EQ(Convert(media, "out.xwmc"), 0);

    ASSERT_GT(done.size(), 2u);
    EXPECT_EQ(done.front(), 0);
    EXPECT_EQ(done.back(), 200000);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

TEST_F(AudioConverter, TheObserverIsCalledForEachMillionOutputFrames) {
    // 500 frames at 64 Hz are 6 million at 768000 Hz.
    const OpenedMedia media(Media(WaveFile(1, 2, 64, 16, NoiseBytes(4 * 500))));
    int asked = 0;
    const ConversionObserver observer([&](long long, long long) {
        ++asked;
        return true;
    });

    EXPECT_EQ(Convert(media, "out.xwmc", 768000), 0);

    EXPECT_GE(asked, 6);
}

TEST_F(AudioConverter, AMuchHigherRateNeedsNoMoreMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers multiply the memory";
#endif
    // 80000 frames of 64 Hz are 240 MB at 48000 Hz.
    const OpenedMedia media(Media(WaveFile(1, 2, 64, 16, NoiseBytes(4 * 80000))));

    const int megabytes = InAnotherProcess([&] {
        struct rusage before = {};
        getrusage(RUSAGE_SELF, &before);
        if (Convert(media, "out.xwmc", 48000) != 0) return 91;
        struct rusage after = {};
        getrusage(RUSAGE_SELF, &after);
        return static_cast<int>(std::min((after.ru_maxrss - before.ru_maxrss) / 1024, 90L));
    });

    EXPECT_LE(megabytes, 64);
}

TEST_F(AudioConverter, ObserverCanCancel) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(4 * 200000))));
    const ConversionObserver observer(
        [](long long doneFrames, long long) { return doneFrames < 100000; });

    EXPECT_EQ(Convert(media, "out.xwmc"), Code(MediaError::Cancelled));
}

TEST_F(AudioConverter, TheObserverOfAnotherThreadIsNotCalled) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(400))));
    const ConversionObserver observer([](long long, long long) { return false; });
    int code = -1;

    std::thread([&] { code = Convert(media, "out.xwmc"); }).join();

    EXPECT_EQ(code, 0);
}

TEST_F(AudioConverter, TheLastObserverIsCalledAndTheOuterObserverAfterItsEnd) {
    const OpenedMedia media(Media(WaveFile(1, 2, 48000, 16, NoiseBytes(400))));
    const ConversionObserver outer([](long long, long long) { return false; });
    {
        const ConversionObserver inner([](long long, long long) { return true; });
        EXPECT_EQ(Convert(media, "a.xwmc"), 0);
    }

    EXPECT_EQ(Convert(media, "b.xwmc"), Code(MediaError::Cancelled));
}
