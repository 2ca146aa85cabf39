// SPDX-License-Identifier: MIT
// The order of the operations between seconds, frames, milliseconds and samples. Every expected
// number was computed independently; another order of the operations has another result.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "sonrel/base/Timing.h"

namespace zrtl {
namespace {

constexpr double NTSC_FILM = 24000.0 / 1001.0;  // 23.976023976023978

struct FrameLength {
    int rate;
    double frameRate;
    int samples;
};

TEST(TimingOrder, SamplesPerFrameIsTheIntegerPartOfTheRatio) {
    // 48000 / (24000 / 1001) is 2002, and slightly less in double precision.
    const FrameLength cases[] = {
        {48000, 25.0, 1920},      {48000, 29.97, 1601}, {44100, 29.97, 1471}, {48000, 23.976, 2002},
        {48000, NTSC_FILM, 2001}, {44100, 25.0, 1764},  {48000, 59.94, 800},  {96000, 1.0, 96000},
        {8000, 8000.0, 1},        {8000, 8001.0, 0},    {8000, 10000.0, 0},
    };
    for (const FrameLength& length : cases) {
        EXPECT_EQ(SamplesPerFrame(length.rate, length.frameRate), length.samples)
            << length.rate << " " << length.frameRate;
    }
}

TEST(TimingOrder, SamplesPerFrameBeyondThirtyTwoBitsIsTheMostNegative) {
    EXPECT_EQ(SamplesPerFrame(48000, 1e-9), std::numeric_limits<int>::min());
    EXPECT_EQ(SamplesPerFrame(0, 0.0), std::numeric_limits<int>::min());
}

TEST(TimingOrder, TotalSamplesComputesTheRatioFirst) {
    EXPECT_EQ(TotalSamples(3, 48000, NTSC_FILM), 6005);  // the product first: 6006
    EXPECT_EQ(TotalSamples(250, 48000, 25.0), 480000);
    EXPECT_EQ(TotalSamples(1, 48000, 29.97), 1601);
    EXPECT_EQ(TotalSamples(0, 48000, 25.0), 0);
    EXPECT_EQ(TotalSamples(2147483647, 192000, 1.0), 412316860224000);
}

TEST(TimingOrder, TotalSamplesDiffersFromTheProductFirstForMostCounts) {
    int differing = 0;
    for (int count = 1; count <= 200000; ++count) {
        const auto productFirst = static_cast<long long>(std::floor((count * 48000.0) / NTSC_FILM));
        if (TotalSamples(count, 48000, NTSC_FILM) != productFirst) ++differing;
    }
    EXPECT_EQ(differing, 141776);
}

TEST(TimingOrder, FrameAtSampleComputesTheSecondsFirst) {
    EXPECT_EQ(FrameAtSample(27840, 48000, 25.0), 14);  // 14.5 by the product first
    EXPECT_EQ(FrameAtSample(98400, 48000, 30.0), 61);  // 61.5
    EXPECT_EQ(FrameAtSample(0, 48000, 25.0), 0);
    EXPECT_EQ(FrameAtSample(959, 48000, 25.0), 0);
    EXPECT_EQ(FrameAtSample(960, 48000, 25.0), 1);
    EXPECT_EQ(FrameAtSample(1920, 48000, 25.0), 1);
    EXPECT_EQ(FrameAtSample(192000, 48000, 25.0), 100);
}

TEST(TimingOrder, ObjectStartSampleIsRounded) {
    EXPECT_EQ(ObjectStartSample(1, 48000, 29.97), 1602);  // 1601.6
    EXPECT_EQ(ObjectStartSample(100, 48000, 25.0), 192000);
    EXPECT_EQ(ObjectStartSample(29, 48000, 25.0), 55680);
    EXPECT_EQ(ObjectStartSample(0, 48000, 25.0), 0);
}

TEST(TimingOrder, InPointSampleIsTruncatedAndComputesTheSecondsFirst) {
    EXPECT_EQ(InPointSample(1, 48000, 29.97), 1601);
    EXPECT_EQ(InPointSample(29, 48000, 25.0), 55679);  // the ratio first: 55680
    EXPECT_EQ(InPointSample(69, 48000, 30.0), 110399);
    EXPECT_EQ(InPointSample(11, 44100, 30.0), 16169);
    EXPECT_EQ(InPointSample(50, 48000, 25.0), 96000);
}

TEST(TimingOrder, InPointSampleDiffersFromTheRatioFirstForManyFrames) {
    int differing = 0;
    for (int frame = 0; frame < 100000; ++frame) {
        if (InPointSample(frame, 48000, 25.0) != static_cast<long long>(frame * (48000 / 25.0))) {
            ++differing;
        }
    }
    EXPECT_EQ(differing, 5982);
}

TEST(TimingOrder, FrameToSampleComputesTheRatioFirst) {
    EXPECT_EQ(FrameToSample(1, 48000, 29.97), 1602);
    EXPECT_EQ(FrameToSample(2, 48000, 29.97), 3203);
    EXPECT_EQ(FrameToSample(3, 48000, 29.97), 4805);
    EXPECT_EQ(FrameToSample(5, 48000, 29.97), 8008);
    EXPECT_EQ(FrameToSample(1000, 48000, 29.97), 1601602);
    EXPECT_EQ(FrameToSample(29, 48000, 25.0), 55680);
}

TEST(TimingOrder, SecondsToMsRoundsHalvesAwayFromZero) {
    EXPECT_EQ(SecondsToMs(0.0005), 1);
    EXPECT_EQ(SecondsToMs(0.0004), 0);
    EXPECT_EQ(SecondsToMs(-0.0005), -1);
    EXPECT_EQ(SecondsToMs(552 / 48000.0), 12);     // 11.5
    EXPECT_EQ(SecondsToMs(2472 / 48000.0), 52);    // 51.5
    EXPECT_EQ(SecondsToMs(24024 / 48000.0), 500);  // 500.49999999999994; the product first: 501
}

TEST(TimingOrder, SecondsToMsOfTheEndOfABlockDependsOnTheOrderOfComputation) {
    const double start = 552 / 48000.0;
    const double end = 2472 / 48000.0;
    EXPECT_EQ(SecondsToMs((end - start) + start), 51);
    EXPECT_EQ(SecondsToMs(end), 52);
}

// The same formulas, written again, over a hundred thousand frames.
TEST(TimingOrder, IsTheReferenceExpressionOverManyFramesAtEveryUsualRate) {
    for (const double frameRate : {23.976, NTSC_FILM, 24.0, 25.0, 29.97, 30.0, 50.0, 59.94, 60.0}) {
        for (const int rate : {44100, 48000, 96000}) {
            for (int frame = 0; frame < 100000; ++frame) {
                const double seconds = frame / frameRate;
                const double position = seconds * rate;
                ASSERT_EQ(ObjectStartSample(frame, rate, frameRate),
                          static_cast<long long>(std::floor(position + (frame > 0 ? 0.5 : 0.0))));
                ASSERT_EQ(InPointSample(frame, rate, frameRate), static_cast<long long>(position));
                const double ratio = rate / frameRate;
                const double product = frame * ratio;
                ASSERT_EQ(TotalSamples(frame, rate, frameRate), static_cast<long long>(product));
                ASSERT_EQ(FrameToSample(frame, rate, frameRate),
                          static_cast<long long>(std::floor(product + (frame > 0 ? 0.5 : 0.0))));
                const long long sample = frame * 777LL;
                const double at = static_cast<double>(sample) / rate;
                const double frames = at * frameRate;
                ASSERT_EQ(FrameAtSample(sample, rate, frameRate),
                          static_cast<int>(std::floor(frames + (frame > 0 ? 0.5 : 0.0))));
            }
        }
    }
}

}  // namespace
}  // namespace zrtl
