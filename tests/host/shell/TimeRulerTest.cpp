// SPDX-License-Identifier: MIT
#include "host/shell/TimeRuler.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace orlo::host;

std::vector<std::string> Labels(const std::vector<RulerTick>& ticks) {
    std::vector<std::string> labels;
    for (const RulerTick& tick : ticks) {
        if (!tick.label.empty()) labels.push_back(tick.label);
    }
    return labels;
}

std::vector<RulerTick> Ticks(double start, double end, int width) {
    return RulerTicks(start, end, width, NominalWidth);
}

std::vector<RulerTick> FrameTicks(double start, double end, int width, const RulerClock& clock) {
    return TimecodeTicks(start, end, width, clock, NominalWidth);
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

TEST(RulerLabel, OfATimeBeforeTheStartHasASign) {
    EXPECT_EQ(RulerLabel(-5, 1), "-0:05");
    EXPECT_EQ(RulerLabel(-3661.25, 0.05), "-1:01:01.25");
    EXPECT_EQ(RulerLabel(-0.2, 1), "0:00");
}

TEST(RulerTicks, MayStartBeforeTheStart) {
    const std::vector<std::string> labels = Labels(Ticks(-10.0, 10.0, 1000));

    // 20 s on 1000 pixels: a second is 50 pixels, and "-0:10" needs 52.
    EXPECT_EQ(labels.front(), "-0:10");
    EXPECT_EQ(labels[5], "0:00");
    EXPECT_EQ(labels[6], "0:02");
}

TEST(RulerTicks, AreAtThePixelsOfRoundTimes) {
    // Ten seconds on 1000 pixels: a label needs 4 characters of 7 pixels and a gap. One second is
    // the closest step that fits; labels with a step of half a second have two more characters.
    const std::vector<RulerTick> ticks = Ticks(0.0, 10.0, 1000);

    ASSERT_EQ(Labels(ticks).size(), 10u);
    for (const RulerTick& tick : ticks) {
        if (tick.label.empty()) continue;
        EXPECT_NEAR(tick.x, 100.0 * std::stoi(tick.label.substr(2)), 1e-6);
    }
    EXPECT_EQ(ticks.size(), 50u);
    EXPECT_NEAR(ticks[1].x, 20.0, 1e-6);
}

TEST(RulerTicks, StartAtTheFirstRoundTimeOfTheRange) {
    const std::vector<RulerTick> ticks = Ticks(3.5, 13.5, 1000);

    EXPECT_EQ(Labels(ticks).front(), "0:04");
    EXPECT_NEAR(ticks.front().x, 10.0, 1e-6);  // 3.6 s
}

TEST(RulerTicks, LabelsNeverOverlapNorLeaveThePicture) {
    for (const double length : {0.0007, 0.01, 0.3, 1.0, 7.0, 59.0, 61.0, 3599.0, 36000.0, 4e6}) {
        for (const double start : {0.0, 0.123, 3599.0, 86400.0}) {
            for (const int width : {1, 40, 333, 1800, 32767}) {
                double free = 0.0;
                for (const RulerTick& tick : Ticks(start, start + length, width)) {
                    ASSERT_GE(tick.x, -1e-3);
                    ASSERT_LT(tick.x, width);
                    if (tick.label.empty()) continue;
                    ASSERT_GE(tick.x, free) << length << " from " << start << " on " << width;
                    free = tick.x + RULER_LABEL_X + NominalWidth(tick.label);
                    ASSERT_LE(free, width);
                }
            }
        }
    }
}

TEST(RulerTicks, AWidePictureHasLabels) {
    for (const double length : {0.0007, 0.01, 0.3, 1.0, 7.0, 61.0, 3600.0, 36000.0, 360000.0}) {
        EXPECT_GE(Labels(Ticks(0.0, length, 1800)).size(), 5u) << length;
    }
}

TEST(RulerTicks, AnHourOnAPictureIsMarkedEveryFewMinutes) {
    const std::vector<std::string> labels = Labels(Ticks(0.0, 3600.0, 1800));

    // "1:00:00" needs 52 pixels and a gap of 14; two minutes are 60 pixels.
    EXPECT_EQ(labels[0], "0:00");
    EXPECT_EQ(labels[1], "5:00");
    EXPECT_EQ(labels.back(), "55:00");
}

TEST(TimecodeTicks, AreAtTheFramesOfRoundTimecodes) {
    // Ten seconds on 2000 pixels: "00:00:00:00" needs 80 pixels and a gap of 14, and half a second
    // is 100 pixels, but 12.5 frames at 25 frames a second are not a whole number. One second is
    // 200 pixels.
    const std::vector<RulerTick> ticks = FrameTicks(0.0, 10.0, 2000, {25.0, false, 90000});

    EXPECT_EQ(Labels(ticks).front(), "01:00:00:00");
    EXPECT_EQ(Labels(ticks).back(), "01:00:09:00");
    ASSERT_EQ(ticks.size(), 50u);  // five parts a second
    EXPECT_NEAR(ticks[1].x, 40.0, 1e-6);
    EXPECT_EQ(ticks[5].label, "01:00:01:00");
    EXPECT_NEAR(ticks[5].x, 200.0, 1e-6);
}

TEST(TimecodeTicks, CountFramesOfASecondThatDivideIt) {
    // 100 frames on 2000 pixels: 5 frames are 100 pixels.
    const std::vector<RulerTick> ticks = FrameTicks(0.1, 4.1, 2000, {25.0, false, 0});

    // 0.1 s is frame 2.5, and the first multiple of 5 is 50 pixels after it.
    EXPECT_EQ(ticks.front().label, "00:00:00:05");
    EXPECT_NEAR(ticks.front().x, 50.0, 1e-6);
    EXPECT_EQ(ticks[1].label, "00:00:00:10");
}

TEST(TimecodeTicks, ADroppedNumberIsReplacedByTheNextNumber) {
    // Frame 1800 at 30000/1001 is 00:01:00;02. Steps of a minute on 1000 pixels for four minutes.
    const double fps = 30000.0 / 1001.0;
    const std::vector<RulerTick> ticks = FrameTicks(0.0, 240.0, 1000, {fps, true, 0});

    const std::vector<std::string> labels = Labels(ticks);
    ASSERT_GE(labels.size(), 3u);
    EXPECT_EQ(labels[0], "00:00:00;00");
    ASSERT_NE(std::find(labels.begin(), labels.end(), "00:01:00;02"), labels.end());
    const auto second = std::find_if(ticks.begin(), ticks.end(), [](const RulerTick& tick) {
        return tick.label == "00:01:00;02";
    });
    EXPECT_NEAR(second->x, 1800 / fps / 240.0 * 1000.0, 1e-6);
}

TEST(TimecodeTicks, LabelsNeverOverlapNorLeaveThePicture) {
    const double ntsc = 30000.0 / 1001.0;
    for (const RulerClock& clock : {RulerClock{1.0, false, 7}, RulerClock{24.0, false, 86399},
                                    RulerClock{ntsc, true, 107892}, RulerClock{120.0, false, 0}}) {
        for (const double length : {0.003, 0.3, 7.0, 61.0, 3599.0, 90000.0}) {
            for (const int width : {1, 40, 333, 1800, 32767}) {
                double free = 0.0;
                double last = -1.0;
                for (const RulerTick& tick : FrameTicks(59.9, 59.9 + length, width, clock)) {
                    ASSERT_GT(tick.x, last);
                    ASSERT_LT(last = tick.x, width);
                    if (tick.label.empty()) continue;
                    ASSERT_GE(tick.x, free) << length << " on " << width;
                    free = tick.x + RULER_LABEL_X + NominalWidth(tick.label);
                    ASSERT_LE(free, width);
                }
            }
        }
    }
}

}  // namespace
