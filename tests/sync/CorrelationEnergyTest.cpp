// SPDX-License-Identifier: MIT
// The sum of the squared correlations of two signals at all lags.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "sonrel/sync/AudioSync.h"
#include "tests/support/Noise.h"

namespace {

using orlo::sonrel::AudioSync;

double EnergyOf(const std::vector<float>& a, const std::vector<float>& b) {
    return AudioSync::CorrelationEnergy(a.data(), 1, b.data(), 1, static_cast<int>(a.size()));
}

std::vector<float> Noise(int count, unsigned int seed) {
    return sonrel_tests::MakeNoise(static_cast<std::size_t>(count), seed, [](std::uint32_t bits) {
        return static_cast<float>(bits / 2147483648.0 - 1.0);
    });
}

TEST(CorrelationEnergy, AddsTheSquaresAtAllLags) {
    EXPECT_NEAR(EnergyOf({2.0f}, {-3.0f}), 1.0, 1e-12);
    // The correlations are 0.5, 1 and 0.5 in the first case, -0.5, 0 and 0.5 in the second.
    EXPECT_NEAR(EnergyOf({1.0f, 1.0f}, {1.0f, 1.0f}), 1.5, 1e-6);
    EXPECT_NEAR(EnergyOf({1.0f, -1.0f}, {1.0f, 1.0f}), 0.5, 1e-6);
}

TEST(CorrelationEnergy, CoversTheLagsOfALengthThatIsNotAPowerOfTwo) {
    const std::vector<float> a = Noise(300, 1);
    const std::vector<float> b = Noise(300, 2);
    double energyA = 0.0;
    double energyB = 0.0;
    for (int i = 0; i < 300; ++i) {
        energyA += double(a[i]) * a[i];
        energyB += double(b[i]) * b[i];
    }
    double expected = 0.0;
    for (int lag = -299; lag < 300; ++lag) {
        double product = 0.0;
        for (int i = std::max(0, -lag); i < std::min(300, 300 - lag); ++i) {
            product += double(a[i + lag]) * b[i];
        }
        expected += product * product / (energyA * energyB);
    }

    EXPECT_NEAR(EnergyOf(a, b), expected, 1e-5);
}

TEST(CorrelationEnergy, IsAboutOneForNoiseAndAThirdOfTheLengthForATone) {
    std::vector<float> tone;
    for (int i = 0; i < 3000; ++i) tone.push_back(static_cast<float>(std::sin(0.3 * i)));

    EXPECT_NEAR(EnergyOf(Noise(3000, 1), Noise(3000, 2)), 1.0, 0.1);
    EXPECT_NEAR(EnergyOf(tone, tone), 1000.0, 10.0);
}

TEST(CorrelationEnergy, IsZeroForSilenceAndSignalsThatAreNotFinite) {
    const std::vector<float> noise = Noise(100, 1);
    const std::vector<float> zeros(100, 0.0f);
    EXPECT_EQ(EnergyOf(zeros, noise), 0.0);
    EXPECT_EQ(EnergyOf(noise, zeros), 0.0);
    for (const float broken :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        std::vector<float> signal = noise;
        signal[40] = broken;
        EXPECT_EQ(EnergyOf(signal, noise), 0.0);
    }
}

TEST(CorrelationEnergy, IsZeroForFewerThanOneValue) {
    const float signal[] = {1.0f};
    for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(AudioSync::CorrelationEnergy(signal, 1, signal, 1, count), 0.0);
    }
}

TEST(CorrelationEnergy, StridesSelectOneChannel) {
    const std::vector<float> left = Noise(200, 1);
    const std::vector<float> right = Noise(200, 2);
    std::vector<float> both;
    for (std::size_t i = 0; i < 200; ++i) both.insert(both.end(), {left[i], right[i], 9.0f});

    const double strided = AudioSync::CorrelationEnergy(both.data() + 1, 3, left.data(), 1, 200);

    EXPECT_EQ(strided, EnergyOf(right, left));
}

}  // namespace
