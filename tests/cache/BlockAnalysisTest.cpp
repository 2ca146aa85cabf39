// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/BlockAnalysis.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "tests/reference/ReferencePeaks.h"

namespace {

using namespace orlo::sonrel;
using testing::Each;
using testing::ElementsAre;
using zrh::media::ZRSampleDataType;

constexpr auto INTEGER = ZRSampleDataType::Integer;
constexpr auto FLOAT = ZRSampleDataType::Float;
constexpr unsigned char GUARD = 0x5C;

using Bytes = std::vector<unsigned char>;

/// The block of these samples. Checks that nothing after it is written.
Bytes BlockOf(ZRSampleDataType type, int bits, int channels, int frames, const Bytes& samples) {
    const auto size = static_cast<std::size_t>(detail::PeakBlockBytes(channels));
    Bytes block(size + 16, GUARD);
    detail::SummariseBlock(detail::SampleFormOf(type, bits), samples.data(), channels, frames,
                           block.data());
    EXPECT_THAT(Bytes(block.begin() + static_cast<std::ptrdiff_t>(size), block.end()), Each(GUARD));
    block.resize(size);
    return block;
}

Bytes ReferenceBlockOf(ZRSampleDataType type, int bits, int channels, int frames,
                       const Bytes& samples) {
    reference::BlockPeaks peaks(channels);
    reference::Analyse(type, bits, samples.data(), channels, frames, &peaks);
    return reference::Quantised(peaks);
}

template <class Value>
void Put(Bytes& bytes, Value value, std::size_t size = sizeof(Value)) {
    unsigned char raw[sizeof(Value)];
    std::memcpy(raw, &value, sizeof value);
    bytes.insert(bytes.end(), raw, raw + size);
}

/// A mono block of 32 times the same sample.
template <class Value>
Bytes Constant(ZRSampleDataType type, Value value, std::size_t size = sizeof(Value)) {
    Bytes samples;
    for (int i = 0; i < 32; ++i) Put(samples, value, size);
    return BlockOf(type, static_cast<int>(8 * size), 1, 32, samples);
}

Bytes Of8(int value) {
    return Constant(INTEGER, static_cast<unsigned char>(value));
}
Bytes Of16(int value) {
    return Constant(INTEGER, static_cast<std::int16_t>(value));
}
Bytes Of24(int value) {
    return Constant(INTEGER, value, 3);
}

/// A negative number as its byte.
constexpr unsigned char Minus(int value) {
    return static_cast<unsigned char>(256 - value);
}

TEST(BlockAnalysis, EightBitsAreCentredAt127AndAHalf) {
    EXPECT_THAT(Of8(0), ElementsAre(255, Minus(127), 0));
    EXPECT_THAT(Of8(1)[1], Minus(126));
    EXPECT_THAT(Of8(64)[1], Minus(63));
    EXPECT_THAT(Of8(191)[2], 63);
    EXPECT_THAT(Of8(254)[2], 126);
    EXPECT_THAT(Of8(255), ElementsAre(255, 0, 127));
}

TEST(BlockAnalysis, SilenceOfEightBitsIsZero) {
    EXPECT_THAT(Of8(127), ElementsAre(0, 0, 0));
    EXPECT_THAT(Of8(128), ElementsAre(0, 0, 0));  // RMS * 255 is 0.99999999999999645
}

TEST(BlockAnalysis, SixteenBitsAreCutAndNotRounded) {
    EXPECT_THAT(Of16(16384), ElementsAre(127, 0, 63));
    EXPECT_THAT(Of16(-16384), ElementsAre(127, Minus(63), 0));
    EXPECT_THAT(Of16(257)[0], 2);
    EXPECT_THAT(Of16(256)[0], 1);
    EXPECT_THAT(Of16(0), ElementsAre(0, 0, 0));
}

TEST(BlockAnalysis, FullScalePositiveKeepsTheMinimumAtZero) {
    EXPECT_THAT(Of16(32767), ElementsAre(255, 0, 127));
}

TEST(BlockAnalysis, TheMinimumSampleIsLimitedToFullScale) {
    EXPECT_THAT(Of16(-32768), ElementsAre(255, Minus(127), 0));
    EXPECT_THAT(Of24(-0x800000), ElementsAre(255, Minus(127), 0));
    EXPECT_THAT(Constant(INTEGER, std::numeric_limits<std::int32_t>::min()),
                ElementsAre(255, Minus(127), 0));
}

TEST(BlockAnalysis, TwentyFourBitsReachFullScale) {
    EXPECT_THAT(Of24(0x7FFFFF), ElementsAre(255, 0, 127));
    EXPECT_THAT(Of24(0x400000), ElementsAre(127, 0, 63));
    EXPECT_THAT(Of24(-1)[1], 0);  // -256 / 2147483391 * 127 is cut to 0
}

TEST(BlockAnalysis, ThirtyTwoBitsReachFullScale) {
    EXPECT_THAT(Constant(INTEGER, std::int32_t{2147483647}), ElementsAre(255, 0, 127));
    EXPECT_THAT(Constant(INTEGER, std::int32_t{1 << 30}), ElementsAre(127, 0, 63));
}

TEST(BlockAnalysis, FloatsBeyondFullScaleWrapInTheByte) {
    EXPECT_THAT(Constant(FLOAT, 1.5f), ElementsAre(126, 0, 190));  // 382 and 190
    EXPECT_THAT(Constant(FLOAT, 2.0f), ElementsAre(254, 0, 254));  // 510 and 254
    EXPECT_THAT(Constant(FLOAT, 1.01f), ElementsAre(1, 0, 128));   // 257 and 128
    EXPECT_THAT(Constant(FLOAT, -2.0), ElementsAre(254, Minus(254), 0));
}

TEST(BlockAnalysis, NaNsAndValuesThatDoNotFitStoreZero) {
    EXPECT_THAT(Constant(FLOAT, std::numeric_limits<float>::quiet_NaN()), ElementsAre(0, 0, 0));
    EXPECT_THAT(Constant(FLOAT, std::numeric_limits<float>::infinity()), ElementsAre(0, 0, 0));
    EXPECT_THAT(Constant(FLOAT, 1e300), ElementsAre(0, 0, 0));
    EXPECT_THAT(Constant(FLOAT, 1e30f), ElementsAre(0, 0, 0));
}

TEST(BlockAnalysis, ANaNChangesNeitherMinimumNorMaximum) {
    Bytes samples;
    for (int i = 0; i < 16; ++i) {
        Put(samples, 0.5f);
        Put(samples, std::numeric_limits<float>::quiet_NaN());
    }
    EXPECT_THAT(BlockOf(FLOAT, 32, 1, 32, samples), ElementsAre(0, 0, 63));
}

TEST(BlockAnalysis, SingleAndDoublePrecisionAreTheSameValue) {
    EXPECT_THAT(Constant(FLOAT, 0.25f), ElementsAre(63, 0, 31));
    EXPECT_THAT(Constant(FLOAT, 0.25), ElementsAre(63, 0, 31));
}

TEST(BlockAnalysis, EachChannelHasItsLimitsAndAllShareOneRms) {
    Bytes samples;
    for (int i = 0; i < 32; ++i) {
        Put(samples, std::int16_t{32767});
        Put(samples, std::int16_t{0});
        Put(samples, static_cast<std::int16_t>(i % 2 == 0 ? 16384 : -16384));
    }
    // sqrt((1 + 0 + 0.25) / 3) * 255 = 164.6
    EXPECT_THAT(BlockOf(INTEGER, 16, 3, 32, samples),
                ElementsAre(164, 0, 127, 0, 0, Minus(63), 63));
}

TEST(BlockAnalysis, ABlockOfOneFrameIsThatFrame) {
    Bytes samples;
    Put(samples, std::int16_t{-16384});
    Put(samples, std::int16_t{16384});
    Bytes behind(samples);
    Put(behind, std::int16_t{32767});
    EXPECT_THAT(BlockOf(INTEGER, 16, 2, 1, behind), ElementsAre(127, Minus(63), 0, 0, 63));
}

TEST(BlockAnalysis, ABlockOfNoFramesIsZero) {
    EXPECT_THAT(BlockOf(INTEGER, 16, 2, 0, Bytes(4, 0x7F)), Each(0));
}

TEST(BlockAnalysis, SamplesOfAnUnknownFormAreZero) {
    const Bytes loud(64 * 8, 0x7F);
    EXPECT_THAT(BlockOf(FLOAT, 16, 1, 32, loud), Each(0));
    EXPECT_THAT(BlockOf(FLOAT, 24, 1, 32, loud), Each(0));
    EXPECT_THAT(BlockOf(FLOAT, 8, 1, 32, loud), Each(0));
    EXPECT_THAT(BlockOf(INTEGER, 64, 1, 32, loud), Each(0));
    EXPECT_THAT(BlockOf(INTEGER, 40, 1, 32, loud), Each(0));
    EXPECT_THAT(BlockOf(static_cast<ZRSampleDataType>(2), 16, 1, 32, loud), Each(0));
}

struct Stored {
    ZRSampleDataType type;
    int bits;
    const char* name;
};

void PrintTo(const Stored& stored, std::ostream* out) {
    *out << stored.name;
}

/// Compares every form with the analysis of one sample after the other.
class BlockAnalysisIdentity : public testing::TestWithParam<Stored> {
protected:
    void ExpectReference(int channels, int frames, const Bytes& samples) {
        const auto [type, bits, name] = GetParam();
        ASSERT_EQ(BlockOf(type, bits, channels, frames, samples),
                  ReferenceBlockOf(type, bits, channels, frames, samples))
            << name << ", " << channels << " channels, " << frames << " frames";
    }

    /// A block whose samples come from a distribution over full scale.
    template <class Draw>
    Bytes Samples(int channels, int frames, Draw draw) {
        Bytes samples;
        for (int i = 0; i < channels * frames; ++i) {
            const double x = draw();
            const auto whole = static_cast<std::int64_t>(x * 2147483647.0);
            switch (GetParam().bits) {
                case 8:
                    samples.push_back(static_cast<unsigned char>(128 + (whole >> 24)));
                    break;
                case 16:
                    Put(samples, static_cast<std::int16_t>(whole >> 16));
                    break;
                case 24:
                    Put(samples, static_cast<std::int32_t>(whole >> 8), 3);
                    break;
                case 32:
                    if (GetParam().type == FLOAT) {
                        Put(samples, static_cast<float>(x));
                    } else {
                        Put(samples, static_cast<std::int32_t>(whole));
                    }
                    break;
                default:
                    Put(samples, x);
            }
        }
        return samples;
    }
};

TEST_P(BlockAnalysisIdentity, RandomBlocksOfAnyChannelsAndLength) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int channels = 1; channels <= 16; ++channels) {
        for (const int frames : {1, 2, 31, 32}) {
            for (int i = 0; i < 40; ++i) {
                const double level = std::pow(2.0, -(i % 20));
                ExpectReference(channels, frames,
                                Samples(channels, frames, [&] { return level * uniform(random); }));
            }
        }
    }
}

TEST_P(BlockAnalysisIdentity, BlocksWhoseRmsIsNearAnInteger) {
    for (int whole = 1; whole <= 255; ++whole) {
        for (const int channels : {1, 2, 5}) {
            for (const double off : {0.0, 1e-16, -1e-16, 1e-9, -1e-9, 1e-5, -1e-5}) {
                double sign = 1.0;
                const double x = std::min(whole / 255.0 + off, 1.0);
                ExpectReference(channels, 32, Samples(channels, 32, [&] {
                                    sign = -sign;
                                    return sign * x;
                                }));
            }
        }
    }
}

TEST_P(BlockAnalysisIdentity, BlocksOfAnyBytes) {
    std::mt19937 random(11);
    for (int i = 0; i < 3000; ++i) {
        const int channels = 1 + i % 16;
        Bytes samples(static_cast<std::size_t>(32 * channels * GetParam().bits / 8));
        for (auto& byte : samples) byte = static_cast<unsigned char>(random());
        ExpectReference(channels, 32, samples);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, BlockAnalysisIdentity,
    testing::Values(Stored{INTEGER, 8, "Integer8"}, Stored{INTEGER, 16, "Integer16"},
                    Stored{INTEGER, 24, "Integer24"}, Stored{INTEGER, 32, "Integer32"},
                    Stored{FLOAT, 32, "Float32"}, Stored{FLOAT, 64, "Float64"}),
    [](const auto& form) { return form.param.name; });

}  // namespace
