// SPDX-License-Identifier: MIT
#include "host/align/Difference.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace orlo::host;

/// A reader of frames whose left and right values are given by their position.
template <class Value>
ReadFrames FramesOf(const Value& valueAt) {
    return [valueAt](long long start, int count, short* frames) {
        for (int i = 0; i < count; ++i) {
            for (int side = 0; side < 2; ++side) {
                frames[2 * i + side] = static_cast<short>(valueAt(start + i, side));
            }
        }
    };
}

TEST(Difference, IsThatOfTheFramesAtTheOffset) {
    // B is A from frame 100 on, except for one frame of each channel.
    const ReadFrames a = FramesOf([](long long frame, int) { return frame % 1000; });
    const ReadFrames b = FramesOf([](long long frame, int side) {
        const long long value = (frame + 100) % 1000;
        if (frame == 25 && side == 0) return value + 16384;
        if (frame == 39 && side == 1) return value - 8192;
        return value;
    });

    const Difference difference = MeasureDifference(a, b, 100, {10, 20, 30, 40});

    ASSERT_EQ(difference.peaks.size(), 3u);
    EXPECT_EQ(difference.peaks[0], (std::array<double, 2>{0.0, 0.0}));
    EXPECT_EQ(difference.peaks[1], (std::array<double, 2>{0.5, 0.0}));
    EXPECT_EQ(difference.peaks[2], (std::array<double, 2>{0.0, 0.25}));
}

TEST(Difference, IsComparedWithTheLevelOfA) {
    const ReadFrames a = FramesOf([](long long, int) { return 10000; });
    const ReadFrames b = FramesOf([](long long, int side) { return side == 0 ? 9000 : 10000; });

    const Difference difference = MeasureDifference(a, b, 0, {0, 100});

    EXPECT_NEAR(difference.decibels[0], -20.0, 1e-9);
    EXPECT_EQ(difference.decibels[1], -INFINITY);
}

TEST(Difference, OfMoreFramesThanAreReadAtOnceHasAllParts) {
    std::vector<long long> bounds;
    for (long long i = 0; i <= 10; ++i) bounds.push_back(i * 20000);
    const ReadFrames a = FramesOf([](long long frame, int) { return frame / 20000 * 1024; });
    const ReadFrames b = FramesOf([](long long, int) { return 0; });

    const Difference difference = MeasureDifference(a, b, 0, bounds);

    ASSERT_EQ(difference.peaks.size(), 10u);
    for (std::size_t part = 0; part < 10; ++part) {
        EXPECT_EQ(difference.peaks[part][1], static_cast<double>(part) / 32.0);
    }
}

TEST(Difference, WithoutAnOverlapIsEmpty) {
    const ReadFrames none = FramesOf([](long long, int) { return 1; });

    EXPECT_TRUE(MeasureDifference(none, none, 0, {}).peaks.empty());
}

}  // namespace
