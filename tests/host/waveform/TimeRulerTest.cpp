// SPDX-License-Identifier: MIT
#include "host/waveform/TimeRuler.h"

#include <gtest/gtest.h>

namespace {

using namespace orlo::host;

std::vector<std::string> Labels(const std::vector<RulerTick>& ticks) {
    std::vector<std::string> labels;
    for (const RulerTick& tick : ticks) {
        if (!tick.label.empty()) labels.push_back(tick.label);
    }
    return labels;
}

TEST(RulerLabel, IsMinutesAndSecondsAndFromOneHourAlsoHours) {
    EXPECT_EQ(RulerLabel(0, 1), "0:00");
    EXPECT_EQ(RulerLabel(59, 1), "0:59");
    EXPECT_EQ(RulerLabel(61, 1), "1:01");
    EXPECT_EQ(RulerLabel(3599, 1), "59:59");
    EXPECT_EQ(RulerLabel(3600, 1), "1:00:00");
    EXPECT_EQ(RulerLabel(36061, 1), "10:01:01");
}

TEST(RulerLabel, HasTheDecimalsOfItsStep) {
    EXPECT_EQ(RulerLabel(5.5, 0.5), "0:05.5");
    EXPECT_EQ(RulerLabel(5.25, 0.05), "0:05.25");
    EXPECT_EQ(RulerLabel(0.000001, 0.000001), "0:00.000001");
    EXPECT_EQ(RulerLabel(59.9999999, 0.1), "1:00.0");
}

TEST(RulerTicks, AreAtThePixelsOfRoundTimes) {
    // Ten seconds on 1000 pixels: a label needs 4 characters of 7 pixels and a gap. One second is
    // the closest step that fits; labels with a step of half a second have two more characters.
    const std::vector<RulerTick> ticks = RulerTicks(0.0, 10.0, 1000);

    ASSERT_EQ(Labels(ticks).size(), 10u);
    for (const RulerTick& tick : ticks) {
        if (tick.label.empty()) continue;
        EXPECT_NEAR(tick.x, 100.0 * std::stoi(tick.label.substr(2)), 1e-6);
    }
    EXPECT_EQ(ticks.size(), 50u);
    EXPECT_NEAR(ticks[1].x, 20.0, 1e-6);
}

TEST(RulerTicks, StartAtTheFirstRoundTimeOfTheRange) {
    const std::vector<RulerTick> ticks = RulerTicks(3.5, 13.5, 1000);

    EXPECT_EQ(Labels(ticks).front(), "0:04");
    EXPECT_NEAR(ticks.front().x, 10.0, 1e-6);  // 3.6 s
}

TEST(RulerTicks, LabelsNeverOverlapNorLeaveThePicture) {
    for (const double length : {0.0007, 0.01, 0.3, 1.0, 7.0, 59.0, 61.0, 3599.0, 36000.0, 4e6}) {
        for (const double start : {0.0, 0.123, 3599.0, 86400.0}) {
            for (const int width : {1, 40, 333, 1800, 32767}) {
                double free = 0.0;
                for (const RulerTick& tick : RulerTicks(start, start + length, width)) {
                    ASSERT_GE(tick.x, -1e-3);
                    ASSERT_LT(tick.x, width);
                    if (tick.label.empty()) continue;
                    ASSERT_GE(tick.x, free) << length << " from " << start << " on " << width;
                    free = tick.x + static_cast<double>(tick.label.size()) * RULER_CHARACTER_WIDTH;
                    ASSERT_LE(free, width);
                }
            }
        }
    }
}

TEST(RulerTicks, AWidePictureHasLabels) {
    for (const double length : {0.0007, 0.01, 0.3, 1.0, 7.0, 61.0, 3600.0, 36000.0, 360000.0}) {
        EXPECT_GE(Labels(RulerTicks(0.0, length, 1800)).size(), 5u) << length;
    }
}

TEST(RulerTicks, AnHourOnAPictureIsMarkedEveryFewMinutes) {
    const std::vector<std::string> labels = Labels(RulerTicks(0.0, 3600.0, 1800));

    // "1:00:00" needs 52 pixels and a gap of 14; two minutes are 60 pixels.
    EXPECT_EQ(labels[0], "0:00");
    EXPECT_EQ(labels[1], "5:00");
    EXPECT_EQ(labels.back(), "55:00");
}

}  // namespace
