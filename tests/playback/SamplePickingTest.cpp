// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/SamplePicking.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using orlo::sonrel::detail::PickFrames;
using orlo::sonrel::detail::ReverseFrames;

constexpr short GUARD = 31000;

/// Frame n is (n, -n).
std::vector<short> NumberedFrames(int count) {
    std::vector<short> frames;
    for (int n = 0; n < count; ++n) {
        frames.push_back(static_cast<short>(n));
        frames.push_back(static_cast<short>(-n));
    }
    return frames;
}

/// The numbers of the picked frames; checks that nothing is written after them.
std::vector<int> Picked(int count, int speed) {
    const std::vector<short> source = NumberedFrames(count);
    std::vector<short> target(source.size() + 4, GUARD);
    const int written = PickFrames(source.data(), count, speed, target.data());
    std::vector<int> picked;
    for (int n = 0; n < written; ++n) {
        picked.push_back(target[2 * n]);
        EXPECT_EQ(target[2 * n + 1], -target[2 * n]) << "left and right of one frame";
    }
    for (std::size_t i = 2 * static_cast<std::size_t>(written); i < target.size(); ++i) {
        EXPECT_EQ(target[i], GUARD);
    }
    return picked;
}

TEST(SamplePicking, WholeMultiplesTakeEveryNthFrame) {
    EXPECT_EQ(Picked(6, 2), (std::vector{0, 2, 4}));
    EXPECT_EQ(Picked(9, 3), (std::vector{0, 3, 6}));
    EXPECT_EQ(Picked(12, 4), (std::vector{0, 4, 8}));
}

TEST(SamplePicking, SpeedOneTakesEveryFrame) {
    EXPECT_EQ(Picked(3, 1), (std::vector{0, 1, 2}));
}

TEST(SamplePicking, FiveFramesAtSpeedTwoGiveFramesZeroAndTwo) {
    EXPECT_EQ(Picked(5, 2), (std::vector{0, 2}));
}

TEST(SamplePicking, SevenFramesAtSpeedThreeGiveFramesZeroAndThree) {
    EXPECT_EQ(Picked(7, 3), (std::vector{0, 3}));
}

TEST(SamplePicking, AnOddValueIndexTakesTheFrameThatContainsIt) {
    // 7 frames at speed 2: a step of 7/3 values, so 0, 4.67 and 9.33: values 0, 4 and 9 minus 1.
    EXPECT_EQ(Picked(7, 2), (std::vector{0, 2, 4}));
}

TEST(SamplePicking, FewerFramesThanTheSpeedGiveNothing) {
    EXPECT_EQ(Picked(1, 2), std::vector<int>());
    EXPECT_EQ(Picked(3, 4), std::vector<int>());
    EXPECT_EQ(Picked(0, 2), std::vector<int>());
}

TEST(SamplePicking, AsManyFramesAsTheSpeedGiveTheFirstFrame) {
    EXPECT_EQ(Picked(2, 2), std::vector{0});
    EXPECT_EQ(Picked(4, 4), std::vector{0});
}

TEST(SamplePicking, TheLastFrameOfALongReadStaysWithinTheSource) {
    // 4807 frames at speed 3: 1602 frames, the last one at value 3202 * (4807 / 1602) = 9607.99,
    // which is in frame 4803.
    const std::vector<int> picked = Picked(4807, 3);

    EXPECT_EQ(picked.size(), 1602u);
    EXPECT_EQ(picked.back(), 4803);
}

TEST(ReverseFrames, FramesAreSwappedAndLeftStaysLeft) {
    std::vector<short> frames = {1, -1, 2, -2, 3, -3};

    ReverseFrames(frames.data(), 3);

    EXPECT_EQ(frames, (std::vector<short>{3, -3, 2, -2, 1, -1}));
}

TEST(ReverseFrames, AnEvenCountHasNoMiddle) {
    std::vector<short> frames = {1, -1, 2, -2, GUARD, GUARD};

    ReverseFrames(frames.data(), 2);

    EXPECT_EQ(frames, (std::vector<short>{2, -2, 1, -1, GUARD, GUARD}));
}

TEST(ReverseFrames, ZeroOrOneFrameStaysUnchanged) {
    std::vector<short> frames = {1, -1};

    ReverseFrames(frames.data(), 0);
    ReverseFrames(frames.data(), 1);

    EXPECT_EQ(frames, (std::vector<short>{1, -1}));
}

}  // namespace
