// SPDX-License-Identifier: MIT
#include "sonrel/waveform/painter/WaveformRows.h"

#include <gtest/gtest.h>

namespace {

using orlo::sonrel::detail::PeakRow;
using orlo::sonrel::detail::RMSRow;
using Scale = orlo::sonrel::WaveformPreview::Scale;

// ---- peaks: the baseline is row 50 of a lane of 100 rows unless given

TEST(PeakRow, FullScaleReachesNineTenthsOfHalfTheLane) {
    EXPECT_EQ(PeakRow(1.0, 50, 100, Scale::Linear), 5);
    EXPECT_EQ(PeakRow(-1.0, 50, 100, Scale::Linear), 95);
}

TEST(PeakRow, IsCutTowardZeroAndNotRounded) {
    EXPECT_EQ(PeakRow(0.5, 50, 100, Scale::Linear), 27);    // 27.5
    EXPECT_EQ(PeakRow(-0.5, 50, 100, Scale::Linear), 72);   // 72.5
    EXPECT_EQ(PeakRow(0.01, 50, 100, Scale::Linear), 49);   // 49.55
    EXPECT_EQ(PeakRow(-0.01, 50, 100, Scale::Linear), 50);  // 50.45
}

TEST(PeakRow, AboveThePictureIsCutTowardRowZero) {
    EXPECT_EQ(PeakRow(1.0, 44, 100, Scale::Linear), -1);  // -1.0
    EXPECT_EQ(PeakRow(0.99, 44, 100, Scale::Linear), 0);  // -0.55
}

TEST(PeakRow, SilenceIsOnTheBaselineOfTheLinearScale) {
    EXPECT_EQ(PeakRow(0.0, 50, 100, Scale::Linear), 50);
}

TEST(PeakRow, IsMultipliedFromLeftToRight) {
    // 50 - 50 / 127 * 0.9 * 127 is 4.999999999999993; with 0.9 * 127 first it is 5.
    EXPECT_EQ(PeakRow(50 / 127.0, 50, 254, Scale::Linear), 4);
}

TEST(PeakRow, HalfAnOddLaneIsCut) {
    EXPECT_EQ(PeakRow(1.0, 16, 33, Scale::Linear), 1);  // 16 - 0.9 * 16 = 1.6
    EXPECT_EQ(PeakRow(-1.0, 16, 33, Scale::Linear), 30);
}

TEST(PeakRow, ALaneOfOneRowIsOnItsBaseline) {
    EXPECT_EQ(PeakRow(1.0, 7, 1, Scale::Linear), 7);
    EXPECT_EQ(PeakRow(-1.0, 7, 1, Scale::Logarithmic), 7);
}

TEST(PeakRow, LogarithmicFullScaleIsTheLogarithmOfNineTenths) {
    // ln 90 / ln 100 * 50 = 48.856
    EXPECT_EQ(PeakRow(1.0, 50, 100, Scale::Logarithmic), 1);
    EXPECT_EQ(PeakRow(-1.0, 50, 100, Scale::Logarithmic), 98);
}

TEST(PeakRow, LogarithmicSilenceIsSlightlyAboveTheBaseline) {
    // ln 0.9 / ln 100 * 50 = -1.144
    EXPECT_EQ(PeakRow(0.0, 50, 100, Scale::Logarithmic), 48);
    EXPECT_EQ(PeakRow(0.0, 16, 33, Scale::Logarithmic), 15);
}

TEST(PeakRow, TheLogarithmicFloorIsOnTheOtherSideOfTheBaseline) {
    EXPECT_EQ(PeakRow(0.01, 50, 100, Scale::Logarithmic), 51);
    EXPECT_EQ(PeakRow(0.001, 50, 100, Scale::Logarithmic), 51);
    EXPECT_EQ(PeakRow(-0.01, 50, 100, Scale::Logarithmic), 48);
    EXPECT_EQ(PeakRow(-0.001, 50, 100, Scale::Logarithmic), 48);
}

TEST(PeakRow, LogarithmicTenthIsHalfwayLessTheHeadroom) {
    // ln 9 / ln 100 * 50 = 23.856
    EXPECT_EQ(PeakRow(0.1, 50, 100, Scale::Logarithmic), 26);
    EXPECT_EQ(PeakRow(-0.1, 50, 100, Scale::Logarithmic), 73);
}

TEST(PeakRow, LogarithmicValuesBeyondFullScaleCountAsFullScale) {
    EXPECT_EQ(PeakRow(1.5, 50, 100, Scale::Logarithmic), 1);
    EXPECT_EQ(PeakRow(-1.5, 50, 100, Scale::Logarithmic), 98);
}

TEST(PeakRow, AnyOtherScaleIsLogarithmic) {
    EXPECT_EQ(PeakRow(0.0, 50, 100, static_cast<Scale>(2)), 48);
    EXPECT_EQ(PeakRow(0.0, 50, 100, static_cast<Scale>(-1)), 48);
}

// ---- RMS: pictures of 100 rows unless given

TEST(RMSRow, FullScaleIsOneRowAboveThePicture) {
    EXPECT_EQ(RMSRow(1.0, 100, Scale::Linear), -1);
    EXPECT_EQ(RMSRow(1.0, 100, Scale::Logarithmic), -1);
}

TEST(RMSRow, SilenceIsOnTheBottomRow) {
    EXPECT_EQ(RMSRow(0.0, 100, Scale::Linear), 99);
    EXPECT_EQ(RMSRow(0.0, 100, Scale::Logarithmic), 99);
}

TEST(RMSRow, HalfOfFullScale) {
    EXPECT_EQ(RMSRow(0.5, 100, Scale::Linear), 49);
    EXPECT_EQ(RMSRow(0.5, 100, Scale::Logarithmic), 14);  // 99 - ln 50 / ln 100 * 100 = 14.05
}

TEST(RMSRow, IsCutTowardZero) {
    EXPECT_EQ(RMSRow(0.995, 100, Scale::Linear), 0);   // -0.5
    EXPECT_EQ(RMSRow(0.005, 100, Scale::Linear), 98);  // 98.5
}

TEST(RMSRow, LogarithmicFloorIsOneHundredth) {
    EXPECT_EQ(RMSRow(0.01, 100, Scale::Logarithmic), 99);
    EXPECT_EQ(RMSRow(0.011, 100, Scale::Logarithmic), 96);  // 99 - ln 1.1 / ln 100 * 100 = 96.93
    EXPECT_EQ(RMSRow(0.009, 100, Scale::Logarithmic), 99);
}

TEST(RMSRow, IsMultipliedByTheHeightBeforeTheDivision) {
    // 6 - 4.605 * 7 / 4.605 is -0.9999999999999991; the other way round it is -1.0.
    EXPECT_EQ(RMSRow(1.0, 7, Scale::Logarithmic), 0);
}

TEST(RMSRow, AnyOtherScaleIsLogarithmic) {
    EXPECT_EQ(RMSRow(0.5, 100, static_cast<Scale>(7)), 14);
}

}  // namespace
