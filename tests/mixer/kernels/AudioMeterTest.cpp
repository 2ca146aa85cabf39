// SPDX-License-Identifier: MIT
#include "sonrel/mixer/AudioMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "sonrel/mixer/detail/AudioMeterAccess.h"

namespace orlo::sonrel {
namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

std::vector<float> Frames(std::size_t count, float left, float right) {
    std::vector<float> values(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        values[2 * i] = left;
        values[2 * i + 1] = right;
    }
    return values;
}

AudioTrackMetrics OneFrameBlock(float left, float right) {
    AudioMeter meter;
    meter.StartMeterSession(1);
    const float frame[] = {left, right};
    meter.ProcessSamples(frame, 1);
    EXPECT_EQ(meter.MeterBlockCount(), 1u);
    return meter.MetricsForBlock(0);
}

TEST(AudioMeter, PlusOneClipsAndMinusOneDoesNot) {
    const AudioTrackMetrics block = OneFrameBlock(1.0f, -1.0f);

    EXPECT_TRUE(block.clipped[0]);
    EXPECT_FALSE(block.clipped[1]);
    EXPECT_EQ(block.peak[0], 1.0f);
    EXPECT_EQ(block.peak[1], 1.0f);
}

TEST(AudioMeter, TheNextValueBelowPlusOneDoesNotClipAndTheNextBelowMinusOneDoes) {
    const AudioTrackMetrics block =
        OneFrameBlock(std::nextafter(1.0f, 0.0f), std::nextafter(-1.0f, -2.0f));

    EXPECT_FALSE(block.clipped[0]);
    EXPECT_TRUE(block.clipped[1]);
}

TEST(AudioMeter, ThePeakIsNotLimitedToFullScale) {
    const AudioTrackMetrics block = OneFrameBlock(-1.5f, 0.25f);

    EXPECT_EQ(block.peak[0], 1.5f);
    EXPECT_TRUE(block.clipped[0]);
    EXPECT_EQ(block.peak[1], 0.25f);
    EXPECT_FALSE(block.clipped[1]);
}

TEST(AudioMeter, ANaNLeavesPeakAndClippingAsTheyWere) {
    AudioMeter meter;
    meter.StartMeterSession(3);
    const float frames[] = {0.5f, NOT_A_NUMBER, NOT_A_NUMBER, 0.25f, NOT_A_NUMBER, NOT_A_NUMBER};

    meter.ProcessSamples(frames, 3);

    ASSERT_EQ(meter.MeterBlockCount(), 1u);
    const AudioTrackMetrics& block = meter.MetricsForBlock(0);
    EXPECT_EQ(block.sampleCount, 3);
    EXPECT_EQ(block.peak[0], 0.5f);
    EXPECT_EQ(block.peak[1], 0.25f);
    EXPECT_FALSE(block.clipped[0]);
    EXPECT_FALSE(block.clipped[1]);
}

TEST(AudioMeter, InfinityIsThePeakAndClips) {
    const float infinity = std::numeric_limits<float>::infinity();

    const AudioTrackMetrics block = OneFrameBlock(infinity, -infinity);

    EXPECT_EQ(block.peak[0], infinity);
    EXPECT_EQ(block.peak[1], infinity);
    EXPECT_TRUE(block.clipped[0]);
    EXPECT_TRUE(block.clipped[1]);
}

TEST(AudioMeter, NegativeZeroIsAPeakOfZero) {
    const AudioTrackMetrics block = OneFrameBlock(-0.0f, -0.0f);

    EXPECT_FALSE(std::signbit(block.peak[0]));
    EXPECT_FALSE(std::signbit(block.peak[1]));
}

TEST(AudioMeter, ABlockLengthBelowOneStartsNothing) {
    for (const int blockFrames : {0, -1, -1000}) {
        AudioMeter meter;
        meter.StartMeterSession(blockFrames);
        meter.ProcessSamples(nullptr, 100);
        meter.StopMeterSession();

        EXPECT_EQ(meter.MeterBlockCount(), 0u) << blockFrames;
    }
}

TEST(AudioMeter, ABlockLengthBelowOneLeavesARunningSessionAsItIs) {
    AudioMeter meter;
    meter.StartMeterSession(10);
    meter.ProcessSamples(nullptr, 15);

    meter.StartMeterSession(0);

    EXPECT_EQ(meter.MeterBlockCount(), 1u);
    meter.ProcessSamples(nullptr, 5);
    EXPECT_EQ(meter.MeterBlockCount(), 2u);
}

TEST(AudioMeter, ASessionShorterThanOneBlockHasOneShortBlockAfterItsStop) {
    AudioMeter meter;
    meter.StartMeterSession(100);
    const std::vector<float> frames = Frames(37, 0.5f, -0.75f);
    meter.ProcessSamples(frames.data(), 37);
    EXPECT_EQ(meter.MeterBlockCount(), 0u);

    meter.StopMeterSession();

    ASSERT_EQ(meter.MeterBlockCount(), 1u);
    const AudioTrackMetrics& block = meter.MetricsForBlock(0);
    EXPECT_EQ(block.sampleCount, 37);
    EXPECT_EQ(block.peak[0], 0.5f);
    EXPECT_EQ(block.peak[1], 0.75f);
}

TEST(AudioMeter, StoppingOnABlockBoundaryAddsNoEmptyBlock) {
    AudioMeter meter;
    meter.StartMeterSession(50);
    meter.ProcessSamples(nullptr, 100);

    meter.StopMeterSession();

    EXPECT_EQ(meter.MeterBlockCount(), 2u);
}

TEST(AudioMeter, StoppingAnIdleMeterKeepsTheFinishedBlocks) {
    AudioMeter meter;
    meter.StartMeterSession(10);
    meter.ProcessSamples(nullptr, 15);
    meter.StopMeterSession();
    ASSERT_EQ(meter.MeterBlockCount(), 2u);

    meter.StopMeterSession();

    EXPECT_EQ(meter.MeterBlockCount(), 2u);
    EXPECT_EQ(meter.MetricsForBlock(1).sampleCount, 5);
}

TEST(AudioMeter, RestartingAnIdleMeterKeepsTheFinishedBlocks) {
    AudioMeter meter;
    meter.StartMeterSession(10);
    meter.ProcessSamples(nullptr, 15);
    meter.StopMeterSession();

    meter.Restart();

    EXPECT_EQ(meter.MeterBlockCount(), 2u);
    meter.ProcessSamples(nullptr, 100);
    EXPECT_EQ(meter.MeterBlockCount(), 2u);
}

TEST(AudioMeter, RestartDropsTheBlocksAndKeepsTheBlockLength) {
    AudioMeter meter;
    meter.StartMeterSession(10);
    const std::vector<float> loud = Frames(15, 2.0f, 2.0f);
    meter.ProcessSamples(loud.data(), 15);

    meter.Restart();

    EXPECT_EQ(meter.MeterBlockCount(), 0u);
    meter.ProcessSamples(nullptr, 9);
    EXPECT_EQ(meter.MeterBlockCount(), 0u);
    meter.ProcessSamples(nullptr, 1);
    ASSERT_EQ(meter.MeterBlockCount(), 1u);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[0], 0.0f);
    EXPECT_FALSE(meter.MetricsForBlock(0).clipped[0]);
}

TEST(AudioMeter, StartingOverARunningSessionRestartsItWithTheNewBlockLength) {
    AudioMeter meter;
    meter.StartMeterSession(10);
    const std::vector<float> loud = Frames(25, 2.0f, 2.0f);
    meter.ProcessSamples(loud.data(), 25);

    meter.StartMeterSession(4);

    EXPECT_EQ(meter.MeterBlockCount(), 0u);
    meter.ProcessSamples(nullptr, 4);
    ASSERT_EQ(meter.MeterBlockCount(), 1u);
    EXPECT_EQ(meter.MetricsForBlock(0).sampleCount, 4);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[0], 0.0f);
}

TEST(AudioMeter, NullSamplesAreSilenceThatCountsAndCutsBlocks) {
    AudioMeter meter;
    meter.StartMeterSession(4);

    meter.ProcessSamples(nullptr, 9);

    ASSERT_EQ(meter.MeterBlockCount(), 2u);
    for (const unsigned long long index : {0ull, 1ull}) {
        const AudioTrackMetrics& block = meter.MetricsForBlock(index);
        EXPECT_EQ(block.sampleCount, 4);
        EXPECT_EQ(block.peak[0], 0.0f);
        EXPECT_EQ(block.peak[1], 0.0f);
        EXPECT_FALSE(block.clipped[0]);
        EXPECT_FALSE(block.clipped[1]);
    }
}

TEST(AudioMeter, AnIdleMeterRecordsNothing) {
    AudioMeter meter;
    const std::vector<float> loud = Frames(10, 2.0f, 2.0f);

    meter.ProcessSamples(loud.data(), 10);
    meter.StopMeterSession();

    EXPECT_EQ(meter.MeterBlockCount(), 0u);
}

TEST(AudioMeter, AFrameCountBelowOneRecordsNothing) {
    AudioMeter meter;
    meter.StartMeterSession(1);
    const float loud[] = {2.0f, 2.0f};

    meter.ProcessSamples(loud, 0);
    meter.ProcessSamples(loud, -5);
    meter.ProcessSamples(nullptr, -5);

    EXPECT_EQ(meter.MeterBlockCount(), 0u);
}

TEST(AudioMeter, ABlockBeginsInOneCallAndEndsInAnother) {
    AudioMeter meter;
    meter.StartMeterSession(10);
    const std::vector<float> quiet = Frames(7, 0.25f, 0.125f);
    const std::vector<float> loud = Frames(7, 0.5f, -1.25f);

    meter.ProcessSamples(quiet.data(), 7);
    meter.ProcessSamples(loud.data(), 7);
    meter.StopMeterSession();

    ASSERT_EQ(meter.MeterBlockCount(), 2u);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[0], 0.5f);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[1], 1.25f);
    EXPECT_TRUE(meter.MetricsForBlock(0).clipped[1]);
    EXPECT_EQ(meter.MetricsForBlock(1).sampleCount, 4);
}

TEST(AudioMeter, BothChannelsOfEveryFrameReachTheirOwnRecord) {
    constexpr int FRAMES = 67;
    for (int loudFrame = 0; loudFrame < FRAMES; ++loudFrame) {
        for (int channel = 0; channel < 2; ++channel) {
            AudioMeter meter;
            meter.StartMeterSession(FRAMES);
            std::vector<float> frames = Frames(FRAMES, 0.25f, -0.25f);
            frames[2 * static_cast<std::size_t>(loudFrame) + static_cast<std::size_t>(channel)] =
                -1.75f;

            meter.ProcessSamples(frames.data(), FRAMES);

            ASSERT_EQ(meter.MeterBlockCount(), 1u);
            const AudioTrackMetrics& block = meter.MetricsForBlock(0);
            ASSERT_EQ(block.peak[channel], 1.75f) << loudFrame;
            ASSERT_EQ(block.peak[1 - channel], 0.25f) << loudFrame;
            ASSERT_TRUE(block.clipped[channel]) << loudFrame;
            ASSERT_FALSE(block.clipped[1 - channel]) << loudFrame;
        }
    }
}

TEST(AudioMeter, MovingHandsTheSessionOver) {
    AudioMeter first;
    first.StartMeterSession(10);
    first.ProcessSamples(nullptr, 15);

    AudioMeter second(std::move(first));
    second.ProcessSamples(nullptr, 5);
    AudioMeter third;
    third = std::move(second);

    EXPECT_EQ(third.MeterBlockCount(), 2u);
}

TEST(AudioMeter, ABlockThatDoesNotExistIsAnEmptyRecord) {
    AudioMeter meter;
    EXPECT_EQ(meter.MetricsForBlock(0).sampleCount, 0);
    meter.StartMeterSession(10);
    const std::vector<float> loud = Frames(25, 2.0f, 2.0f);
    meter.ProcessSamples(loud.data(), 25);

    for (const unsigned long long index : {2ull, 3ull, ~0ull}) {
        EXPECT_EQ(meter.MetricsForBlock(index).sampleCount, 0);
        EXPECT_EQ(meter.MetricsForBlock(index).peak[0], 0.0f);
        EXPECT_FALSE(meter.MetricsForBlock(index).clipped[0]);
    }
}

TEST(AudioMeter, AReferenceToABlockLastsWhileOthersAreFinished) {
    AudioMeter meter;
    meter.StartMeterSession(1);
    const float frame[] = {0.5f, -1.5f};
    meter.ProcessSamples(frame, 1);
    const AudioTrackMetrics& block = meter.MetricsForBlock(0);

    meter.ProcessSamples(nullptr, 100000);

    EXPECT_EQ(&meter.MetricsForBlock(0), &block);
    EXPECT_EQ(block.peak[1], 1.5f);
}

TEST(AudioMeter, AShorterSessionDropsTheBlockThatWasBegun) {
    AudioMeter meter;
    meter.StartMeterSession(1000);
    const std::vector<float> loud = Frames(900, 2.0f, 2.0f);
    meter.ProcessSamples(loud.data(), 900);

    meter.StartMeterSession(10);
    meter.StopMeterSession();
    EXPECT_EQ(meter.MeterBlockCount(), 0u);
    meter.StartMeterSession(10);
    meter.ProcessSamples(nullptr, 25);

    ASSERT_EQ(meter.MeterBlockCount(), 2u);
    EXPECT_EQ(meter.MetricsForBlock(0).sampleCount, 10);
    EXPECT_EQ(meter.MetricsForBlock(0).peak[0], 0.0f);
}

}  // namespace
}  // namespace orlo::sonrel
