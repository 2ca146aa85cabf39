// SPDX-License-Identifier: MIT
#include "host/waveform/AmplitudeRows.h"

#include <gtest/gtest.h>

namespace {

using namespace orlo::host;
using AxisScale = orlo::sonrel::WaveformPreview::Scale;

constexpr int ROWS = 13;

// A lane of 100 rows has its baseline on row 50, and full scale is 45 rows away.
TEST(AmplitudeRow, OfPeaksIsTheRowOfTheEngine) {
    const AmplitudeLane linear{0, 100, AxisScale::Linear, false};
    EXPECT_EQ(linear.Baseline(), 50);
    EXPECT_EQ(linear.RowOf(1.0), 5);
    EXPECT_EQ(linear.RowOf(0.5), 27);  // 50 - 22.5, cut
    EXPECT_EQ(linear.RowOf(0.0), 50);
    EXPECT_EQ(linear.RowOf(-1.0), 95);
    const AmplitudeLane lower{100, 100, AxisScale::Linear, false};
    EXPECT_EQ(lower.RowOf(1.0), 105);
}

// 50 rows are ln 100 = 4.60517. ln 90 is 48.856 rows, ln 9 is 23.856 rows, ln 0.9 is -1.144 rows.
TEST(AmplitudeRow, OfPeaksOnTheLogarithmicScaleIsTheRowOfTheEngine) {
    const AmplitudeLane lane{0, 100, AxisScale::Logarithmic, false};
    EXPECT_EQ(lane.RowOf(1.0), 1);
    EXPECT_EQ(lane.RowOf(0.1), 26);
    EXPECT_EQ(lane.RowOf(0.01), 51);
    EXPECT_EQ(lane.RowOf(0.0), 48);
    EXPECT_EQ(lane.RowOf(-0.1), 73);
    EXPECT_EQ(lane.RowOf(-1.0), 98);
}

TEST(AmplitudeRow, OfAnEnvelopeIsTheRowOfTheEngine) {
    const AmplitudeLane linear{0, 100, AxisScale::Linear, true};
    EXPECT_EQ(linear.Baseline(), 99);
    EXPECT_EQ(linear.RowOf(1.0), -1);
    EXPECT_EQ(linear.RowOf(0.5), 49);
    EXPECT_EQ(linear.RowOf(0.0), 99);
    const AmplitudeLane logarithmic{0, 100, AxisScale::Logarithmic, true};
    EXPECT_EQ(logarithmic.RowOf(0.1), 49);
    EXPECT_EQ(logarithmic.RowOf(0.001), 99);
}

TEST(AmplitudeTicks, AreRoundAmplitudesAboveAndBelowTheBaseline) {
    const AmplitudeLane lane{0, 100, AxisScale::Linear, false};

    const std::vector<AmplitudeTick> ticks = AmplitudeTicks(lane, AmplitudeUnit::Linear, ROWS);

    // A quarter would be 11 rows from one half.
    EXPECT_EQ(ticks, (std::vector<AmplitudeTick>{
                         {5, "1"}, {27, "0.5"}, {50, "0"}, {72, "-0.5"}, {95, "-1"}}));
}

TEST(AmplitudeTicks, OfDecibelsAreAtTheirAmplitudes) {
    const AmplitudeLane lane{0, 200, AxisScale::Logarithmic, true};

    const std::vector<AmplitudeTick> ticks = AmplitudeTicks(lane, AmplitudeUnit::Decibels, ROWS);

    // 40 dB are 200 rows: -6 dB is 30 rows and -20 dB 100 rows below full scale, at 199 - 200 = -1.
    ASSERT_GE(ticks.size(), 3u);
    EXPECT_EQ(ticks.front(), (AmplitudeTick{0, "0 dB"}));
    EXPECT_EQ(ticks.back(), (AmplitudeTick{199, "-40"}));
    EXPECT_NE(std::find(ticks.begin(), ticks.end(), AmplitudeTick{29, "-6"}), ticks.end());
    EXPECT_NE(std::find(ticks.begin(), ticks.end(), AmplitudeTick{99, "-20"}), ticks.end());
}

TEST(AmplitudeTicks, LabelsNeverOverlapNorLeaveTheirLane) {
    for (const bool isEnvelope : {false, true}) {
        for (const AxisScale scale : {AxisScale::Linear, AxisScale::Logarithmic}) {
            for (const AmplitudeUnit unit : {AmplitudeUnit::Linear, AmplitudeUnit::Decibels}) {
                for (const int height : {0, 1, 12, 13, 14, 33, 280, 2000}) {
                    const AmplitudeLane lane{70, height, scale, isEnvelope};
                    int free = lane.top;
                    for (const AmplitudeTick& tick : AmplitudeTicks(lane, unit, ROWS)) {
                        ASSERT_GE(LabelTop(lane, tick.row, ROWS), free) << height;
                        free = LabelTop(lane, tick.row, ROWS) + ROWS;
                        ASSERT_LE(free, lane.top + height);
                    }
                    EXPECT_EQ(free > lane.top, height >= ROWS);
                }
            }
        }
    }
}

TEST(AmplitudeTicks, AreNoneWithoutAUnit) {
    EXPECT_TRUE(
        AmplitudeTicks({0, 100, AxisScale::Linear, false}, AmplitudeUnit::None, ROWS).empty());
}

}  // namespace
