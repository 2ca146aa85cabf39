// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/GainLaw.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "sonrel/mixer/AudioMeter.h"
#include "tests/mixer/kernels/FloatBits.h"
#include "tests/reference/ReferenceGainLaw.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/Noise.h"

namespace orlo::sonrel::detail {
namespace {

class GainLawTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(GainLawTest);

constexpr float GUARD_VALUE = 777.0f;
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

std::vector<std::uint32_t> AllBits(const std::vector<float>& values) {
    std::vector<std::uint32_t> bits;
    for (const float value : values) bits.push_back(Bits(value));
    return bits;
}

std::vector<short> Stereo(std::size_t frames, short left, short right) {
    std::vector<short> samples;
    for (std::size_t i = 0; i < frames; ++i) {
        samples.push_back(left);
        samples.push_back(right);
    }
    return samples;
}

std::vector<short> NoiseSamples(std::size_t frames, unsigned int seed) {
    return sonrel_tests::MakeNoise(2 * frames, seed, [](std::uint32_t bits) {
        return static_cast<short>(static_cast<std::int32_t>(bits & 0xffffu) - 32768);
    });
}

std::vector<float> NoiseBlock(std::size_t frames, unsigned int seed) {
    return sonrel_tests::MakeNoise(2 * frames, seed, [](std::uint32_t bits) {
        return static_cast<float>(static_cast<std::int32_t>(bits)) * 0x1p-31f;
    });
}

// The contents of a silent block after the samples were added.
std::vector<float> Mixed(const std::vector<short>& samples, float startLevel, float endLevel,
                         float balance) {
    std::vector<float> block(samples.size() + 2, 0.0f);
    block[samples.size()] = GUARD_VALUE;
    block[samples.size() + 1] = GUARD_VALUE;
    MixObjectIntoBlock(samples.data(), static_cast<int>(samples.size() / 2), block.data(),
                       startLevel, endLevel, balance);
    EXPECT_EQ(block[samples.size()], GUARD_VALUE);
    EXPECT_EQ(block[samples.size() + 1], GUARD_VALUE);
    block.resize(samples.size());
    return block;
}

TEST_P(GainLawTest, AtZeroDecibelsASampleIsItsPartOfFullScale) {
    const std::vector<float> block = Mixed(Stereo(20, 16384, -32768), 0.0f, 0.0f, 0.0f);

    for (std::size_t i = 0; i < block.size(); i += 2) {
        EXPECT_EQ(block[i], 0.5f);
        EXPECT_EQ(block[i + 1], -1.0f);
    }
}

TEST_P(GainLawTest, MinusSixDecibelsWithBalanceToTheRightHasTheseBits) {
    // g = powf(10, -0.3) * 2^-15 [37804dce]; left is (12345 * g) * 0.699999988.
    const std::vector<float> block = Mixed(Stereo(20, 12345, 12345), -6.0f, -6.0f, 0.3f);

    for (std::size_t i = 0; i < block.size(); i += 2) {
        EXPECT_EQ(Bits(block[i]), 0x3e075813u);
        EXPECT_EQ(Bits(block[i + 1]), 0x3e415940u);
    }
}

TEST_P(GainLawTest, HalfBalanceHalvesTheOtherChannelExactly) {
    const std::vector<float> block = Mixed(Stereo(20, 32767, 32767), -6.0f, -6.0f, 0.5f);

    const float g = 0.501187205f * 3.0517578125e-05f;
    for (std::size_t i = 0; i < block.size(); i += 2) {
        EXPECT_EQ(block[i], 32767.0f * g * 0.5f);
        EXPECT_EQ(block[i + 1], 32767.0f * g);
    }
}

TEST_P(GainLawTest, FullBalanceSilencesOneChannelAndLeavesTheOther) {
    const std::vector<float> left = Mixed(Stereo(20, 16384, 16384), 0.0f, 0.0f, -1.0f);
    const std::vector<float> right = Mixed(Stereo(20, 16384, 16384), 0.0f, 0.0f, 1.0f);

    for (std::size_t i = 0; i < left.size(); i += 2) {
        EXPECT_EQ(left[i], 0.5f);
        EXPECT_EQ(left[i + 1], 0.0f);
        EXPECT_EQ(right[i], 0.0f);
        EXPECT_EQ(right[i + 1], 0.5f);
    }
}

TEST_P(GainLawTest, ABalanceBeyondOneTurnsTheSign) {
    const std::vector<float> block = Mixed(Stereo(20, 16384, 16384), 0.0f, 0.0f, 1.5f);

    EXPECT_EQ(block[0], -0.25f);
    EXPECT_EQ(block[1], 0.5f);
}

TEST_P(GainLawTest, ABalanceOfNaNHasNoEffect) {
    EXPECT_EQ(Mixed(Stereo(20, 16384, 8192), 0.0f, 0.0f, NOT_A_NUMBER),
              Mixed(Stereo(20, 16384, 8192), 0.0f, 0.0f, 0.0f));
}

TEST_P(GainLawTest, ARampReachesTheEndLevelHalfWayAndContinuesToTwiceTheChange) {
    const std::vector<float> block = Mixed(Stereo(1000, -32768, -32768), 0.0f, -12.0f, 0.0f);

    EXPECT_EQ(Bits(-block[2 * 1]), 0x3f7f4b2bu);
    EXPECT_EQ(Bits(-block[2 * 250]), 0x3f004dceu);
    EXPECT_EQ(Bits(-block[2 * 500]), 0x3e809bccu);
    EXPECT_EQ(Bits(-block[2 * 501 + 1]), 0x3e8040f4u);
    EXPECT_EQ(Bits(-block[2 * 999 + 1]), 0x3d8193dfu);
}

TEST_P(GainLawTest, TheNextBlockStartsAgainAtItsOwnStartLevel) {
    const std::vector<float> first = Mixed(Stereo(1000, -32768, -32768), 0.0f, -12.0f, 0.0f);
    const std::vector<float> second = Mixed(Stereo(1000, -32768, -32768), -12.0f, -24.0f, 0.0f);

    EXPECT_LT(-first[2 * 999], 0.07f);
    EXPECT_EQ(Bits(-second[0]), 0x3e809bccu);
}

TEST_P(GainLawTest, SamplesAreAddedToTheContentsOfTheBlock) {
    const std::vector<short> samples = Stereo(33, 16384, -8192);
    std::vector<float> block(66, 0.125f);

    MixObjectIntoBlock(samples.data(), 33, block.data(), 0.0f, 0.0f, 0.0f);

    for (std::size_t i = 0; i < block.size(); i += 2) {
        EXPECT_EQ(block[i], 0.625f);
        EXPECT_EQ(block[i + 1], -0.125f);
    }
}

TEST_P(GainLawTest, FramesBelowOneChangeNothing) {
    const std::vector<short> samples = Stereo(4, 1000, 1000);
    float block[2] = {GUARD_VALUE, GUARD_VALUE};

    for (const int frames : {0, -1, std::numeric_limits<int>::min()}) {
        MixObjectIntoBlock(samples.data(), frames, block, 0.0f, 0.0f, 0.0f);
        MixObjectIntoBlock(samples.data(), frames, block, 0.0f, -6.0f, 0.0f);
        ApplyMasterLevel(block, frames, -6.0f, -6.0f);
        ApplyMasterLevel(block, frames, 0.0f, -6.0f);
    }

    EXPECT_EQ(block[0], GUARD_VALUE);
    EXPECT_EQ(block[1], GUARD_VALUE);
}

TEST_P(GainLawTest, EverySampleAtEveryKindOfLevelFollowsTheLaw) {
    std::mt19937 random(31);
    std::uniform_real_distribution<float> level(-100.0f, 30.0f);
    std::uniform_real_distribution<float> pan(-1.2f, 1.2f);
    for (int round = 0; round < 300; ++round) {
        const std::size_t frames = round < 70 ? static_cast<std::size_t>(round) + 1
                                              : static_cast<std::size_t>(1 + random() % 2500u);
        const std::vector<short> samples = NoiseSamples(frames, random());
        std::vector<float> expected = NoiseBlock(frames, 5);
        std::vector<float> block = expected;
        const float start = level(random);
        const float end = round % 3 == 0 ? start : level(random);
        const float balance = round % 5 == 0 ? 0.0f : pan(random);

        reference::MixObjectIntoBlock(samples.data(), static_cast<int>(frames), expected.data(),
                                      start, end, balance);
        MixObjectIntoBlock(samples.data(), static_cast<int>(frames), block.data(), start, end,
                           balance);

        ASSERT_EQ(AllBits(block), AllBits(expected)) << start << " " << end << " " << balance;
    }
}

// ---- The metered mix ---------------------------------------------------------------------------

void ExpectEqualBlocks(const AudioTrackMetrics& block, const AudioTrackMetrics& expected) {
    EXPECT_EQ(block.sampleCount, expected.sampleCount);
    for (const int channel : {0, 1}) {
        EXPECT_EQ(Bits(block.peak[channel]), Bits(expected.peak[channel]));
        EXPECT_EQ(block.clipped[channel], expected.clipped[channel]);
    }
}

void ExpectEqualMeters(AudioMeter& meter, const reference::AudioMeter& expected) {
    ASSERT_EQ(meter.MeterBlockCount(), expected.Blocks().size());
    for (std::size_t i = 0; i < expected.Blocks().size(); ++i) {
        ExpectEqualBlocks(meter.MetricsForBlock(i), expected.Blocks()[i]);
    }
    meter.StopMeterSession();
    if (expected.Current().sampleCount > 0) {
        ASSERT_EQ(meter.MeterBlockCount(), expected.Blocks().size() + 1);
        ExpectEqualBlocks(meter.MetricsForBlock(expected.Blocks().size()), expected.Current());
    }
}

TEST_P(GainLawTest, AMeteredMixAddsTheSameAsAnUnmeteredMix) {
    const std::vector<short> samples = NoiseSamples(1601, 1);
    for (const float endLevel : {-3.0f, -17.7f}) {
        AudioMeter meter;
        meter.StartMeterSession(100);
        std::vector<float> block = NoiseBlock(1601, 2);
        std::vector<float> expected = block;

        MixObjectIntoBlock(samples.data(), 1601, expected.data(), -3.0f, endLevel, 0.25f);
        MixObjectIntoBlockMetered(samples.data(), 1601, block.data(), 1601, -3.0f, endLevel, 0.25f,
                                  &meter);

        EXPECT_EQ(AllBits(block), AllBits(expected));
    }
}

TEST_P(GainLawTest, TheMeterReceivesTheAddedValuesAndNotTheSum) {
    const std::vector<short> samples = Stereo(100, 16384, -32768);
    std::vector<float> block(200, 3.0f);
    AudioMeter meter;
    meter.StartMeterSession(100);

    MixObjectIntoBlockMetered(samples.data(), 100, block.data(), 100, 0.0f, 0.0f, -0.5f, &meter);

    ASSERT_EQ(meter.MeterBlockCount(), 1u);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[0], 0.5f);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[1], 0.5f);
    EXPECT_FALSE(meter.MetricsForBlock(0).clipped[0]);
}

TEST_P(GainLawTest, MissingFramesAreSilenceToTheMeter) {
    const std::vector<short> samples = Stereo(700, 16384, 16384);
    std::vector<float> block(2000, 0.0f);
    AudioMeter meter;
    meter.StartMeterSession(100);

    MixObjectIntoBlockMetered(samples.data(), 700, block.data(), 1000, 0.0f, 0.0f, 0.0f, &meter);

    ASSERT_EQ(meter.MeterBlockCount(), 10u);
    EXPECT_EQ(meter.MetricsForBlock(6).peak[0], 0.5f);
    EXPECT_EQ(meter.MetricsForBlock(7).peak[0], 0.0f);
    EXPECT_EQ(meter.MetricsForBlock(9).sampleCount, 100);
    EXPECT_EQ(block[2 * 700], 0.0f);
}

TEST_P(GainLawTest, WithoutFramesTheWholeRequestIsSilenceToTheMeter) {
    float block[2] = {GUARD_VALUE, GUARD_VALUE};
    AudioMeter meter;
    meter.StartMeterSession(10);

    MixObjectIntoBlockMetered(nullptr, 0, block, 100, 0.0f, -6.0f, 0.0f, &meter);

    EXPECT_EQ(meter.MeterBlockCount(), 10u);
    EXPECT_EQ(block[0], GUARD_VALUE);
}

TEST_P(GainLawTest, AnIdleMeterIsUnchangedAndTheSamplesAreAdded) {
    const std::vector<short> samples = Stereo(50, 16384, 16384);
    std::vector<float> block(100, 0.0f);
    AudioMeter meter;

    MixObjectIntoBlockMetered(samples.data(), 50, block.data(), 80, 0.0f, 0.0f, 0.0f, &meter);

    EXPECT_EQ(meter.MeterBlockCount(), 0u);
    EXPECT_EQ(block, std::vector<float>(100, 0.5f));
}

TEST_P(GainLawTest, MeterBlocksOfEveryLengthFollowTheRulesOneFrameAtATime) {
    std::mt19937 random(41);
    std::uniform_real_distribution<float> level(-40.0f, 12.0f);
    for (int round = 0; round < 200; ++round) {
        const int blockFrames = 1 + static_cast<int>(random() % 700u);
        AudioMeter meter;
        reference::AudioMeter expectedMeter;
        meter.StartMeterSession(blockFrames);
        expectedMeter.StartMeterSession(blockFrames);
        for (int call = 0; call < 4; ++call) {
            const int frames = 1 + static_cast<int>(random() % 1000u);
            const int requested = frames + static_cast<int>(random() % 3u) * 50;
            const std::vector<short> samples =
                NoiseSamples(static_cast<std::size_t>(frames), random());
            std::vector<float> expected = NoiseBlock(static_cast<std::size_t>(frames), 6);
            std::vector<float> block = expected;
            const float start = level(random);
            const float end = random() % 2u == 0 ? start : level(random);

            reference::MixObjectIntoBlockMetered(samples.data(), frames, expected.data(), requested,
                                                 start, end, 0.1f, expectedMeter);
            MixObjectIntoBlockMetered(samples.data(), frames, block.data(), requested, start, end,
                                      0.1f, &meter);

            ASSERT_EQ(AllBits(block), AllBits(expected));
        }
        ExpectEqualMeters(meter, expectedMeter);
    }
}

TEST_P(GainLawTest, AMeterRecordsTheValuesOfEverySampleAtAnyLevelAndBalance) {
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    const std::vector<short> noise = NoiseSamples(150, 8);
    std::vector<short> negative = noise;
    std::vector<short> positive = noise;
    for (short& sample : negative) sample = static_cast<short>(sample | -32768);
    for (short& sample : positive) sample = static_cast<short>(sample & 32767);
    for (const float level : {-6.0f, 24.0f, -900.0f, 800.0f, -INFINITE, INFINITE, NOT_A_NUMBER}) {
        for (const float balance : {0.0f, 0.4f, -1.0f, 1.0f, 1.5f, -3.0f, INFINITE, NOT_A_NUMBER}) {
            for (const auto& samples : {noise, negative, positive, Stereo(150, 3000, 0)}) {
                AudioMeter meter;
                reference::AudioMeter expected;
                meter.StartMeterSession(61);
                expected.StartMeterSession(61);
                std::vector<float> block(300, 0.0f);

                MixObjectIntoBlockMetered(samples.data(), 150, block.data(), 150, level, level,
                                          balance, &meter);
                reference::MixObjectIntoBlockMetered(samples.data(), 150, block.data(), 150, level,
                                                     level, balance, expected);

                SCOPED_TRACE(testing::Message() << level << " dB, balance " << balance);
                ExpectEqualMeters(meter, expected);
            }
        }
    }
}

TEST_P(GainLawTest, AMeterFedInOneCallRecordsTheSameAsFrameByFrame) {
    std::mt19937 random(51);
    for (int round = 0; round < 200; ++round) {
        const int blockFrames = 1 + static_cast<int>(random() % 300u);
        const std::size_t frames = 1 + random() % 1500u;
        std::vector<float> values = NoiseBlock(frames, random());
        for (float& value : values) {
            const auto kind = random() % 400u;
            value *= 1.2f;
            if (kind == 0) value = NOT_A_NUMBER;
            if (kind == 1) value = std::numeric_limits<float>::infinity();
            if (kind == 2) value = 1.0f;
            if (kind == 3) value = -1.0f;
            if (kind == 4) value = -0.0f;
        }
        AudioMeter meter;
        reference::AudioMeter expected;
        meter.StartMeterSession(blockFrames);
        expected.StartMeterSession(blockFrames);

        meter.ProcessSamples(values.data(), static_cast<int>(frames));
        for (std::size_t i = 0; i < frames; ++i) expected.ProcessSamples(&values[2 * i], 1);

        ExpectEqualMeters(meter, expected);
    }
}

// ---- The master level --------------------------------------------------------------------------

TEST_P(GainLawTest, AMasterLevelOfZeroAtBothEndsChangesNoBit) {
    std::vector<float> block = NoiseBlock(100, 7);
    block[3] = NOT_A_NUMBER;
    block[4] = -0.0f;
    const std::vector<float> before = block;

    ApplyMasterLevel(block.data(), 100, 0.0f, 0.0f);
    ApplyMasterLevel(block.data(), 100, -0.0f, 0.0f);

    EXPECT_EQ(AllBits(block), AllBits(before));
}

TEST_P(GainLawTest, AConstantMasterLevelMultipliesEveryValueByOneGain) {
    std::vector<float> block(66, 1.0f);
    block.push_back(GUARD_VALUE);

    ApplyMasterLevel(block.data(), 33, -6.0f, -6.0f);

    for (std::size_t i = 0; i < 66; ++i) EXPECT_EQ(Bits(block[i]), 0x3f004dceu);
    EXPECT_EQ(block[66], GUARD_VALUE);
}

TEST_P(GainLawTest, AMasterRampMultipliesBothChannelsByTheSamePower) {
    std::vector<float> block(2000, 1.0f);

    ApplyMasterLevel(block.data(), 1000, 0.0f, -12.0f);

    EXPECT_EQ(Bits(block[2 * 1]), 0x3f7f4b2bu);
    EXPECT_EQ(Bits(block[2 * 500]), 0x3e809bccu);
    EXPECT_EQ(Bits(block[2 * 500 + 1]), 0x3e809bccu);
    EXPECT_EQ(Bits(block[2 * 999 + 1]), 0x3d8193dfu);
}

TEST_P(GainLawTest, AMasterRampFromOrToZeroIsARamp) {
    std::vector<float> down(200, 1.0f);
    std::vector<float> up(200, 1.0f);

    ApplyMasterLevel(down.data(), 100, 0.0f, -6.0f);
    ApplyMasterLevel(up.data(), 100, -6.0f, 0.0f);

    EXPECT_EQ(down[0], 1.0f);
    EXPECT_EQ(Bits(down[100]), 0x3f004dceu);
    EXPECT_EQ(Bits(up[0]), 0x3f004dceu);
    EXPECT_EQ(up[100], 1.0f);
}

TEST_P(GainLawTest, EveryMasterLevelFollowsTheLaw) {
    std::mt19937 random(61);
    std::uniform_real_distribution<float> level(-100.0f, 30.0f);
    for (int round = 0; round < 200; ++round) {
        const std::size_t frames = round < 40 ? static_cast<std::size_t>(round) + 1
                                              : static_cast<std::size_t>(1 + random() % 2500u);
        std::vector<float> expected = NoiseBlock(frames, random());
        std::vector<float> block = expected;
        const float start = level(random);
        const float end = round % 3 == 0 ? start : level(random);

        reference::ApplyMasterLevel(expected.data(), static_cast<int>(frames), start, end);
        ApplyMasterLevel(block.data(), static_cast<int>(frames), start, end);

        ASSERT_EQ(AllBits(block), AllBits(expected)) << start << " " << end;
    }
}

}  // namespace
}  // namespace orlo::sonrel::detail
