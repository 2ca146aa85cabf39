// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/StereoSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "sonrel/base/Timing.h"

namespace orlo::sonrel::detail {
namespace {

/// The value that is written on the left channel; the right channel has the opposite sign.
short ToValue(double value) {
    short values[3] = {99, 99, 99};
    WriteFrame(reinterpret_cast<unsigned char*>(values), 0, Frame{value, -value});
    EXPECT_EQ(values[1], std::clamp(zrtl::RoundHalfAway(-value), -32768.0, 32767.0));
    EXPECT_EQ(values[2], 99);
    return values[0];
}

TEST(PluginSamples, AFrameIsReadWithItsSignsFromAnyAddress) {
    const short values[] = {0, 32767, -32768, -1, 1};
    unsigned char bytes[11] = {};
    std::memcpy(bytes + 1, values, sizeof(values));

    EXPECT_EQ(ReadFrame(bytes + 1, 0)[0], 0.0);
    EXPECT_EQ(ReadFrame(bytes + 1, 0)[1], 32767.0);
    EXPECT_EQ(ReadFrame(bytes + 1, 1)[0], -32768.0);
    EXPECT_EQ(ReadFrame(bytes + 1, 1)[1], -1.0);
    EXPECT_EQ(ReadFrame(bytes + 3, 1)[1], 1.0);
}

TEST(PluginSampleRounding, RoundsHalvesAwayFromZero) {
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
