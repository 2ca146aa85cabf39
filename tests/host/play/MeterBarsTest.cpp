// SPDX-License-Identifier: MIT
#include "host/play/MeterBars.h"

#include <gtest/gtest.h>

namespace {

using namespace orlo::host;
using orlo::sonrel::AudioTrackMetrics;
using std::chrono::milliseconds;

AudioTrackMetrics Block(float left, float right, bool leftClipped = false) {
    AudioTrackMetrics metrics;
    metrics.peak[0] = left;
    metrics.peak[1] = right;
    metrics.clipped[0] = leftClipped;
    return metrics;
}

TEST(MeterDecibels, AreClampedToMinus60And0) {
    EXPECT_DOUBLE_EQ(MeterDecibels(1.0f), 0.0);
    EXPECT_DOUBLE_EQ(MeterDecibels(4.0f), 0.0);
    EXPECT_NEAR(MeterDecibels(0.5f), -6.0206, 0.0001);
    EXPECT_DOUBLE_EQ(MeterDecibels(0.0001f), -60.0);
    EXPECT_DOUBLE_EQ(MeterDecibels(0.0f), -60.0);
}

TEST(SignalMeter, ABarIsFilledByDecibels) {
    SignalMeter meter;

    // Full scale and -30 decibels fill all and half of a bar, which covers 60 decibels.
    meter.Show(Block(1.0f, 0.03162f), {});

    EXPECT_EQ(meter.Bar(0, 10), "#########|");
    EXPECT_EQ(meter.Bar(1, 10), "####|-----");
}

TEST(SignalMeter, SilenceIsAnEmptyBar) {
    SignalMeter meter;

    meter.Show(Block(0.0f, 0.0f), {});

    EXPECT_EQ(meter.Bar(0, 4), "----");
}

TEST(SignalMeter, APeakIsHeldForAWhileThenReplacedByALowerPeak) {
    SignalMeter meter;
    const SignalMeter::Clock::time_point start{};
    meter.Show(Block(1.0f, 1.0f), start);

    meter.Show(Block(0.03162f, 0.0f), start + milliseconds(1500));
    EXPECT_EQ(meter.Bar(0, 10), "#####----|");
    EXPECT_EQ(meter.Held(0), 1.0f);

    meter.Show(Block(0.03162f, 0.0f), start + milliseconds(1501));
    EXPECT_EQ(meter.Bar(0, 10), "####|-----");
}

TEST(SignalMeter, AHigherPeakReplacesAHeldPeakAtOnce) {
    SignalMeter meter;
    meter.Show(Block(0.1f, 0.1f), {});

    meter.Show(Block(0.2f, 0.05f), {});

    EXPECT_EQ(meter.Held(0), 0.2f);
    EXPECT_EQ(meter.Held(1), 0.1f);
}

TEST(SignalMeter, ALampStaysLitOnceTheChannelHasClipped) {
    SignalMeter meter;
    meter.Show(Block(1.5f, 0.5f, true), {});

    meter.Show(Block(0.1f, 0.1f), {});

    EXPECT_TRUE(meter.Lamp(0));
    EXPECT_FALSE(meter.Lamp(1));
}

}  // namespace
