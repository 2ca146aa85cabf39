// SPDX-License-Identifier: MIT
#include "sonrel/base/Timing.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(RoundHalfAway, RoundsToTheNearestIntegerAndHalvesAwayFromZero) {
    EXPECT_EQ(zrtl::RoundHalfAway(2.4), 2.0);
    EXPECT_EQ(zrtl::RoundHalfAway(2.5), 3.0);
    EXPECT_EQ(zrtl::RoundHalfAway(-2.4), -2.0);
    EXPECT_EQ(zrtl::RoundHalfAway(-2.5), -3.0);
    EXPECT_EQ(zrtl::RoundHalfAway(0.0), 0.0);
}

TEST(RoundHalfAway, AddsTheHalfInDoublePrecision) {
    // The sum 0.49999999999999994 + 0.5 is 1 in double precision.
    EXPECT_EQ(zrtl::RoundHalfAway(0.49999999999999994), 1.0);
    // Half of 2^52 + 1: the sum rounds to the even neighbour above.
    EXPECT_EQ(zrtl::RoundHalfAway(4503599627370497.0), 4503599627370498.0);
}

TEST(Timing, SamplesPerFrameAreWhole) {
    EXPECT_EQ(zrtl::SamplesPerFrame(48000, 25.0), 1920);
    EXPECT_EQ(zrtl::SamplesPerFrame(48000, 29.97), 1601);  // 1601.6
    EXPECT_EQ(zrtl::SamplesPerFrame(44100, 24.0), 1837);   // 1837.5
    EXPECT_EQ(zrtl::SamplesPerFrame(8000, 10000.0), 0);
}

TEST(Timing, TheTotalComputesTheRatioFirst) {
    EXPECT_EQ(zrtl::TotalSamples(250, 48000, 25.0), 480000);
    EXPECT_EQ(zrtl::TotalSamples(3, 44100, 29.97), 4414);  // 4414.41
    EXPECT_EQ(zrtl::TotalSamples(100000, 192000, 24.0), 800000000);
}

TEST(Timing, NoFramesAreNoSamples) {
    EXPECT_EQ(zrtl::TotalSamples(0, 48000, 25.0), 0);
}

TEST(Timing, ATotalBeyond32BitsIsWhole) {
    EXPECT_EQ(zrtl::TotalSamples(2000000, 192000, 24.0), 16000000000);
}

TEST(Timing, ASamplePositionRoundsToItsFrame) {
    EXPECT_EQ(zrtl::FrameAtSample(0, 48000, 25.0), 0);
    EXPECT_EQ(zrtl::FrameAtSample(959, 48000, 25.0), 0);
    EXPECT_EQ(zrtl::FrameAtSample(960, 48000, 25.0), 1);
    EXPECT_EQ(zrtl::FrameAtSample(480000, 48000, 25.0), 250);
}

TEST(Timing, AnObjectStartIsRoundedAndAnInPointIsTruncated) {
    // 29 / 25 * 48000 is slightly below 55680 in double precision.
    EXPECT_EQ(zrtl::ObjectStartSample(29, 48000, 25.0), 55680);
    EXPECT_EQ(zrtl::InPointSample(29, 48000, 25.0), 55679);
    EXPECT_EQ(zrtl::InPointSample(25, 48000, 25.0), 48000);
}

TEST(Timing, TheFrameGridComputesTheRatioFirstAndRounds) {
    EXPECT_EQ(zrtl::FrameToSample(1, 44100, 29.97), 1471);  // 1471.47
    EXPECT_EQ(zrtl::FrameToSample(2, 44100, 29.97), 2943);  // 2942.94
    EXPECT_EQ(zrtl::FrameToSample(29, 48000, 25.0), 55680);
}

TEST(Timing, SecondsRoundToMilliseconds) {
    EXPECT_EQ(zrtl::SecondsToMs(0.0625), 63);  // 62.5
    EXPECT_EQ(zrtl::SecondsToMs(-0.0625), -63);
    EXPECT_EQ(zrtl::SecondsToMs(1.2), 1200);
}

}  // namespace
