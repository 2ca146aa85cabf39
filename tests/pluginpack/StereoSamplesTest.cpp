// SPDX-License-Identifier: MIT
#include "sonrel/pluginpack/detail/StereoSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "sonrel/contracts/zrtl/Timing.h"

namespace orlo::sonrel::detail {
namespace {

TEST(PluginSampleRounding, HalvesGoAwayFromZero) {
    EXPECT_EQ(ToValue(0.5), 1);
    EXPECT_EQ(ToValue(-0.5), -1);
    EXPECT_EQ(ToValue(2.5), 3);
    EXPECT_EQ(ToValue(-2.5), -3);
    EXPECT_EQ(ToValue(0.25), 0);
    EXPECT_EQ(ToValue(-0.25), 0);
}

TEST(PluginSampleRounding, ClipsToSixteenBits) {
    EXPECT_EQ(ToValue(32767.4), 32767);
    EXPECT_EQ(ToValue(32767.5), 32767);
    EXPECT_EQ(ToValue(1e300), 32767);
    EXPECT_EQ(ToValue(-32768.4), -32768);
    EXPECT_EQ(ToValue(-32768.5), -32768);
    EXPECT_EQ(ToValue(-1e300), -32768);
}

TEST(PluginSampleRounding, AgreesWithTheRoundingOfTheEngine) {
    std::mt19937_64 generator(7);
    std::uniform_real_distribution<double> values(-33000.0, 33000.0);
    EXPECT_EQ(ToValue(0.49999999999999994), 1);
    for (int i = 0; i < 100000; ++i) {
        const double value =
            i % 4 == 0 ? std::round(values(generator) * 2.0) / 2.0 : values(generator);
        const double expected = std::clamp(zrtl::RoundHalfAway(value), -32768.0, 32767.0);
        ASSERT_EQ(ToValue(value), expected) << value;
    }
}

}  // namespace
}  // namespace orlo::sonrel::detail
