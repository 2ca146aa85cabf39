// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/DecibelPowers.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "tests/mixer/kernels/FloatBits.h"
#include "tests/support/CpuPaths.h"

namespace orlo::sonrel::detail {
namespace {

class DecibelPowersTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(DecibelPowersTest);

std::vector<float> Powers(float start, float slope, int firstFrame, int count) {
    std::vector<float> powers(static_cast<std::size_t>(count + POWERS_ALIGNMENT - 1) /
                              POWERS_ALIGNMENT * POWERS_ALIGNMENT);
    RampPowers(start, slope, firstFrame, count, powers.data());
    powers.resize(static_cast<std::size_t>(count));
    return powers;
}

void ExpectLibraryPowers(float start, float slope, int firstFrame, int count) {
    const std::vector<float> powers = Powers(start, slope, firstFrame, count);
    for (int i = 0; i < count; ++i) {
        const float level = static_cast<float>(2 * (firstFrame + i)) * slope + start;
        const float expected = std::pow(10.0f, level / 20.0f);
        ASSERT_EQ(Bits(powers[static_cast<std::size_t>(i)]), Bits(expected))
            << "start " << start << " slope " << slope << " frame " << firstFrame + i;
    }
}

TEST(DecibelPowers, MinusSixDecibelsIsThisFloat) {
    EXPECT_EQ(Bits(PowerOfLevel(-6.0f)), 0x3f004dceu);
}

TEST(DecibelPowers, LevelsAreAddedBeforeThePowerIsTaken) {
    EXPECT_EQ(Bits(PowerOfLevel(-6.0f + -3.0f)), 0x3eb5aa1au);
}

TEST_P(DecibelPowersTest, ARampToMinusTwelveDecibelsHasThesePowers) {
    const std::vector<float> powers = Powers(0.0f, -12.0f / 1000.0f, 0, 1000);

    EXPECT_EQ(Bits(powers[0]), 0x3f800000u);
    EXPECT_EQ(Bits(powers[1]), 0x3f7f4b2bu);
    EXPECT_EQ(Bits(powers[250]), 0x3f004dceu);
    EXPECT_EQ(Bits(powers[500]), 0x3e809bccu);
    EXPECT_EQ(Bits(powers[501]), 0x3e8040f4u);
    EXPECT_EQ(Bits(powers[999]), 0x3d8193dfu);
}

TEST_P(DecibelPowersTest, RampsAcrossAllLevelsInUseGiveTheLibrarysPowers) {
    std::mt19937 random(21);
    std::uniform_real_distribution<float> level(-100.0f, 30.0f);
    for (int round = 0; round < 1500; ++round) {
        const int frames = 1 + static_cast<int>(random() % 2000u);
        const float start = level(random);
        const float slope = (level(random) - start) / static_cast<float>(frames);
        ExpectLibraryPowers(start, slope, 0, frames);
    }
}

TEST_P(DecibelPowersTest, EveryWholeAndHalfDecibelReturnsTheLibrarysPower) {
    ExpectLibraryPowers(-200.0f, 0.25f, 0, 600);
    ExpectLibraryPowers(-96.0f, 0.005f, 0, 12001);
}

TEST_P(DecibelPowersTest, ALaterPartOfARampIsThatOfTheWholeRamp) {
    const std::vector<float> whole = Powers(-3.3f, -14.4f / 1601.0f, 0, 1601);

    for (const int first : {1, 7, 512, 1600}) {
        const std::vector<float> part = Powers(-3.3f, -14.4f / 1601.0f, first, 1601 - first);
        EXPECT_EQ(part, std::vector<float>(whole.begin() + first, whole.end()));
    }
}

TEST_P(DecibelPowersTest, LevelsFarBeyondHearingGiveTheLibrarysPowers) {
    ExpectLibraryPowers(-700.0f, 0.7f, 0, 1000);   // up to 698 dB
    ExpectLibraryPowers(-1000.0f, 1.0f, 0, 1000);  // from denormal to infinite
    ExpectLibraryPowers(1e6f, -1000.0f, 0, 1000);  // a start far out that comes back
    ExpectLibraryPowers(0.0f, 1e30f, 0, 100);
    ExpectLibraryPowers(0.0f, -1e30f, 0, 100);
    ExpectLibraryPowers(0.0f, 1e-40f, 0, 100);  // a denormal slope
}

TEST_P(DecibelPowersTest, LevelsOfNaNHaveTheLibrarysPowers) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float none = std::numeric_limits<float>::quiet_NaN();
    for (const float start : {0.0f, infinity, -infinity, none}) {
        for (const float slope : {0.0f, 1.0f, infinity, -infinity, none}) {
            const std::vector<float> powers = Powers(start, slope, 0, 40);
            for (int i = 0; i < 40; ++i) {
                const float level = static_cast<float>(2 * i) * slope + start;
                const float expected = std::pow(10.0f, level / 20.0f);
                const float power = powers[static_cast<std::size_t>(i)];
                if (std::isnan(expected)) {
                    ASSERT_TRUE(std::isnan(power));
                } else {
                    ASSERT_EQ(Bits(power), Bits(expected)) << start << " " << slope << " " << i;
                }
            }
        }
    }
}

}  // namespace
}  // namespace orlo::sonrel::detail
