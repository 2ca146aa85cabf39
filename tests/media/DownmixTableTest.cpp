// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <utility>

#include "tests/media/ConversionSupport.h"

using namespace sonrel_tests;

namespace {

/// What each channel of a file adds to left and right, in ten-thousandths.
using Factors = std::vector<std::pair<int, int>>;

/// Measures the factors: in frame c only channel c has a sample, of 10000.
Factors FactorsOf(int channels) {
    const TemporaryFolder folder;
    std::vector<int> values;
    for (int frame = 0; frame < channels; ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            values.push_back(channel == frame ? 10000 : 0);
        }
    }
    WriteFile(folder / "a.wav", WaveFile(1, channels, 48000, 16, Bytes16(values)));
    const std::vector<int> mixed = Conversion(folder / "a.wav", 48000).Values();
    Factors factors;
    for (std::size_t i = 0; i + 1 < mixed.size(); i += 2)
        factors.push_back({mixed[i], mixed[i + 1]});
    return factors;
}

/// The mix is computed in integers, so that a factor may be one ten-thousandth off.
void ExpectNear(const Factors& found, const Factors& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].first, expected[i].first, 1) << "left, channel " << i + 1;
        EXPECT_NEAR(found[i].second, expected[i].second, 1) << "right, channel " << i + 1;
    }
}

}  // namespace

// The expected values are 1, 0.70711 and 0.5, divided by their sum for one side.

TEST(DownmixTable, ThreeChannelsAreFrontAndLowFrequency) {
    ExpectNear(FactorsOf(3), {{10000, 0}, {0, 10000}, {0, 0}});
}

TEST(DownmixTable, FourChannelsAreFrontCentreAndBackCentre) {
    // 1 + 0.70711 + 0.5 = 2.20711
    ExpectNear(FactorsOf(4), {{4531, 0}, {0, 4531}, {3204, 3204}, {2265, 2265}});
}

TEST(DownmixTable, FiveAndSixChannelsAreSurroundWithoutAndWithLowFrequency) {
    // 1 + 2 * 0.70711 = 2.41421
    ExpectNear(FactorsOf(5), {{4142, 0}, {0, 4142}, {2929, 2929}, {2929, 0}, {0, 2929}});
    ExpectNear(FactorsOf(6), {{4142, 0}, {0, 4142}, {2929, 2929}, {0, 0}, {2929, 0}, {0, 2929}});
}

TEST(DownmixTable, SevenChannelsHaveABackCentreAndTwoSides) {
    // 1 + 2 * 0.70711 + 0.5 = 2.91421
    ExpectNear(FactorsOf(7),
               {{3431, 0}, {0, 3431}, {2426, 2426}, {0, 0}, {1716, 1716}, {2426, 0}, {0, 2426}});
}

TEST(DownmixTable, EightChannelsHaveTwoBacksAndTwoSides) {
    // 1 + 3 * 0.70711 = 3.12132
    ExpectNear(
        FactorsOf(8),
        {{3204, 0}, {0, 3204}, {2265, 2265}, {0, 0}, {2265, 0}, {0, 2265}, {2265, 0}, {0, 2265}});
}

TEST(DownmixTable, ANumberOfChannelsThatIsNotInTheTableIsRefused) {
    EXPECT_TRUE(FactorsOf(9).empty());
}
