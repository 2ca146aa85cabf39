// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/GatedLoudness.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orlo::sonrel::detail {
namespace {

/// The mean square of a loudness: the inverse of the formula of the standard.
double MeanSquareOf(double lufs) {
    return std::pow(10.0, (lufs + 0.691) / 10.0);
}

TEST(GatedLoudness, AMeanSquareOfOneIsTheOffsetOfTheStandard) {
    EXPECT_DOUBLE_EQ(LoudnessOf(1.0), -0.691);
    EXPECT_DOUBLE_EQ(LoudnessOf(0.01), -20.691);
}

TEST(GatedLoudness, TheAbsoluteGateIsAtMinus70) {
    EXPECT_TRUE(IsAboveAbsoluteGate(MeanSquareOf(-69.999)));
    EXPECT_FALSE(IsAboveAbsoluteGate(MeanSquareOf(-70.001)));
}

TEST(GatedLoudness, WithoutBlocksThereIsNoResult) {
    EXPECT_EQ(IntegratedLoudness({}), std::nullopt);
    EXPECT_EQ(LoudnessRange({}), std::nullopt);
}

TEST(GatedLoudness, IntegratesTheEnergiesNotTheLoudnesses) {
    // The mean of 1 and 3 is 2: 3.01 dB above 1.
    EXPECT_NEAR(IntegratedLoudness({1.0, 3.0}).value(), -0.691 + 3.0103, 1e-4);
}

TEST(GatedLoudness, ABlockMoreThan10LuBelowTheMeanIsLeftOut) {
    // The mean of 100 and 5.6 is 52.8: its gate is 5.28.
    EXPECT_NEAR(IntegratedLoudness({100.0, 5.6}).value(), -0.691 + 10.0 * std::log10(52.8), 1e-9);
    // The mean of 100 and 5 is 52.5: its gate is 5.25.
    EXPECT_NEAR(IntegratedLoudness({100.0, 5.0}).value(), -0.691 + 20.0, 1e-9);
}

TEST(GatedLoudness, TheRangeIsFromThe10thToThe95thPercentile) {
    // 21 blocks of -40, -39, ... -20 LUFS: rank 2 is -38 and rank 19 is -21.
    std::vector<double> blocks;
    for (int i = 0; i <= 20; ++i) blocks.push_back(MeanSquareOf(-40.0 + (8 * i) % 21));

    // The mean is -26.2 LUFS, so that every block is within 20 LU of it.
    EXPECT_NEAR(LoudnessRange(blocks).value(), 17.0, 1e-9);
}

TEST(GatedLoudness, TheRangeLeavesOutBlocksMoreThan20LuBelowTheMean) {
    // Of eleven blocks of 0 and one of 10^-2.1 the mean is 0.92, and its gate 0.0092.
    std::vector<double> blocks(11, 1.0);
    blocks.push_back(std::pow(10.0, -2.1));
    EXPECT_EQ(LoudnessRange(blocks).value(), 0.0);

    blocks.back() = 0.0093;
    blocks.push_back(0.0093);
    // Rank 1 of 13 is the second quiet block; the mean is now 0.8476.
    EXPECT_NEAR(LoudnessRange(blocks).value(), -10.0 * std::log10(0.0093), 1e-9);
}

TEST(GatedLoudness, TheRangeOfOneBlockIsZero) {
    EXPECT_EQ(LoudnessRange({0.5}).value(), 0.0);
}

}  // namespace
}  // namespace orlo::sonrel::detail
