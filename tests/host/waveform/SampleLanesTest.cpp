// SPDX-License-Identifier: MIT
#include "host/waveform/SampleLanes.h"

#include <gtest/gtest.h>

#include "host/waveform/ClippedStretches.h"

namespace {

using namespace orlo::host;
using LaneScale = orlo::sonrel::WaveformPreview::Scale;

TEST(SampleColumn, IsTheColumnInWhichTheTimeOfTheSampleStarts) {
    EXPECT_EQ(SampleColumn(0, 10, 100), 0);
    EXPECT_EQ(SampleColumn(9, 10, 100), 90);
    EXPECT_EQ(SampleColumn(1, 3, 100), 33);
    EXPECT_EQ(SampleColumn(7, 32000, 1000), 0);
    EXPECT_EQ(SampleColumn(31999, 32000, 1000), 999);
}

// The rows of a lane of 100 rows: full scale 5, silence 50, negative full scale 95.
TEST(SampleLanes, AreALineThroughTheSamplesAndSquaresWhereTheyAreFarApart) {
    LaneMasks masks = DrawSamples({2, {{1.0, -1.0, 0.0}}}, 100, 100, LaneScale::Linear);

    ASSERT_EQ(masks.coverage.size(), 10000u);
    for (int y = 4; y <= 6; ++y) {
        for (int x = 0; x <= 1; ++x) EXPECT_EQ(masks.Row(0, y)[x], 255);
    }
    for (int y = 94; y <= 96; ++y) {
        for (int x = 49; x <= 51; ++x) EXPECT_EQ(masks.Row(0, y)[x], 255) << x << ", " << y;
    }
    EXPECT_EQ(masks.Row(0, 50)[25], 255);  // half of the way from row 5 to row 95
    EXPECT_EQ(masks.Row(0, 72)[75], 255);  // half of the way to the sample after the range
    EXPECT_EQ(masks.Row(0, 50)[75], 0);
}

TEST(SampleLanes, SamplesCloserThanFivePixelsHaveNoSquares) {
    // 25 samples of silence, 4 pixels apart; 20 samples are 5 pixels apart.
    LaneMasks close = DrawSamples({25, {std::vector<double>(25)}}, 100, 100, LaneScale::Linear);
    LaneMasks apart = DrawSamples({20, {std::vector<double>(20)}}, 100, 100, LaneScale::Linear);

    EXPECT_EQ(close.Row(0, 50)[4], 255);
    EXPECT_EQ(close.Row(0, 49)[4], 0);
    EXPECT_EQ(apart.Row(0, 49)[5], 255);
}

TEST(SampleLanes, EachChannelHasALane) {
    LaneMasks masks = DrawSamples({2, {{0.0, 0.0}, {1.0, 1.0}}}, 4, 20, LaneScale::Linear);

    EXPECT_EQ(masks.Row(0, 10)[0], 255);
    EXPECT_EQ(masks.Row(0, 1)[0], 0);
    EXPECT_EQ(masks.Row(1, 1)[0], 255);
    EXPECT_EQ(masks.Row(1, 10)[0], 0);
}

TEST(SampleLanes, AColumnOfManySamplesReachesItsExtremes) {
    std::vector<double> values(40);
    values[21] = 1.0;
    LaneMasks masks = DrawSamples({40, {values}}, 4, 100, LaneScale::Linear);

    EXPECT_EQ(masks.Row(0, 5)[2], 255);
    EXPECT_EQ(masks.Row(0, 30)[2], 255);
    EXPECT_EQ(masks.Row(0, 30)[1], 0);
}

TEST(ClippedSamples, AreThoseAtFullScaleAndBeyond) {
    const StreamSamples samples{6, {{0.0, 1.0, -1.0, 0.999, 1.5, 0.0, 9.0}, {0, 0, 0, 0, 0, -2}}};

    const ChannelStretches stretches = ClippedSamples(samples, 100);

    using Stretches = std::vector<zrtl::FrameRange>;
    EXPECT_EQ(stretches[0], (Stretches{{101, 103}, {104, 105}}));
    EXPECT_EQ(stretches[1], (Stretches{{105, 106}}));
    EXPECT_EQ(CountStretches(stretches), 3);
}

}  // namespace
