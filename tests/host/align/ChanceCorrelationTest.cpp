// SPDX-License-Identifier: MIT
#include "host/align/ChanceCorrelation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using orlo::host::IndependentValues;
using orlo::host::LargestByChance;
using orlo::host::StereoRanges;

constexpr int RATE = 8000;

using Signal = std::vector<double>;

Signal Noise(std::size_t frames, unsigned int seed) {
    std::mt19937 engine(seed);
    Signal signal(frames);
    for (double& value : signal) value = engine() / 2147483648.0 - 1.0;
    return signal;
}

/// Noise of which each value is nine tenths of the value before.
Signal NarrowNoise(std::size_t frames, unsigned int seed) {
    Signal signal = Noise(frames, seed);
    for (std::size_t i = 1; i < frames; ++i) signal[i] += 0.9 * signal[i - 1];
    return signal;
}

/// Silence, except for a tenth of the signal.
Signal Burst(const Signal& sound, std::size_t begin) {
    Signal signal(sound.size(), 0.0);
    for (std::size_t i = begin; i < begin + sound.size() / 10; ++i) signal[i] = sound[i];
    return signal;
}

std::vector<float> Stereo(const Signal& left, const Signal& right) {
    std::vector<float> values;
    for (std::size_t i = 0; i < left.size(); ++i) {
        values.push_back(static_cast<float>(left[i]));
        values.push_back(static_cast<float>(right[i]));
    }
    return values;
}

double ValuesOf(const Signal& a, const Signal& b) {
    return IndependentValues({Stereo(a, a), Stereo(b, b)}, RATE);
}

// ---- The number of values

TEST(IndependentValues, OfNoiseAreAboutAsManyAsItsFrames) {
    const double values = ValuesOf(Noise(8000, 1), Noise(8000, 2));

    EXPECT_GT(values, 6000.0);
    EXPECT_LT(values, 8500.0);
}

TEST(IndependentValues, OfNarrowSpectraAreFewer) {
    // The squares of the autocorrelation 0.9^|lag| add up to 1.81 / 0.19.
    const double expected = 8000 * 0.19 / 1.81;

    const double values = ValuesOf(NarrowNoise(8000, 1), NarrowNoise(8000, 2));

    EXPECT_GT(values, 0.6 * expected);
    EXPECT_LT(values, 1.1 * expected);
}

TEST(IndependentValues, OfBurstsThatCoincideAreTheValuesOfTheBursts) {
    const double values = ValuesOf(Burst(Noise(8000, 1), 4000), Burst(Noise(8000, 2), 4000));

    EXPECT_GT(values, 600.0);
    EXPECT_LT(values, 850.0);
}

TEST(IndependentValues, OfAToneAreFewAtAnyLength) {
    Signal tone(8000);
    for (std::size_t i = 0; i < tone.size(); ++i) tone[i] = std::sin(0.35 * double(i));

    EXPECT_LT(ValuesOf(tone, tone), 3.1);
}

TEST(IndependentValues, OfSoundsThatShareALoudToneAreTheValuesOfTheTone) {
    // The noise is quiet and long. The loud tones last 50 ms.
    Signal a = Noise(8000, 1);
    Signal b = Noise(8000, 2);
    for (std::size_t i = 4000; i < 4400; ++i) {
        a[i] += 20.0 * std::sin(0.35 * double(i));
        b[i] += 20.0 * std::sin(0.35 * double(i) + 1.0);
    }

    EXPECT_LT(ValuesOf(a, b), 8.0);
}

TEST(IndependentValues, AreTheValuesOfTheChannelWithFewer) {
    const std::vector<float> a = Stereo(NarrowNoise(8000, 1), Noise(8000, 2));
    const std::vector<float> b = Stereo(NarrowNoise(8000, 3), Noise(8000, 4));

    EXPECT_LT(IndependentValues({a, b}, RATE), 900.0);
}

TEST(IndependentValues, OfSilenceAreNone) {
    const Signal silence(8000, 0.0);

    EXPECT_EQ(ValuesOf(silence, Noise(8000, 1)), 0.0);
    EXPECT_EQ(ValuesOf(silence, silence), 0.0);
    EXPECT_EQ(IndependentValues({}, RATE), 0.0);
}

TEST(IndependentValues, OfASilentChannelDoNotCount) {
    const Signal silence(8000, 0.0);
    const StereoRanges ranges{Stereo(Noise(8000, 1), silence), Stereo(Noise(8000, 2), silence)};

    EXPECT_GT(IndependentValues(ranges, RATE), 6000.0);
}

// ---- The largest correlation

TEST(LargestByChance, IsTheQuantileOfTheBetaDistribution) {
    // sqrt(1 - (0.001 / trials)^(2 / (values - 1)))
    EXPECT_NEAR(LargestByChance(3.0, 0.0, 0.001), 0.99949987, 1e-8);
    EXPECT_NEAR(LargestByChance(1001.0, std::log(1000.0), 0.001), 0.16508415, 1e-8);
    EXPECT_NEAR(LargestByChance(21.0, std::log(1e6), 0.001), 0.93493714, 1e-8);
}

TEST(LargestByChance, IsOneForOneValue) {
    EXPECT_EQ(LargestByChance(0.0, 0.0, 0.001), 1.0);
    EXPECT_EQ(LargestByChance(1.0, 0.0, 0.001), 1.0);
}

TEST(LargestByChance, IsZeroForLessThanOneTrialOfTheProbability) {
    EXPECT_EQ(LargestByChance(100.0, -7.0, 0.001), 0.0);
}

TEST(LargestByChance, IsExceededByGaussianValuesNoMoreOftenThanStated) {
    std::mt19937 engine(5);
    std::normal_distribution<double> gauss;
    constexpr int TRIALS = 20000;
    for (const int values : {2, 5, 20}) {
        const double bound = LargestByChance(values, 0.0, 0.01);
        int exceeding = 0;
        for (int trial = 0; trial < TRIALS; ++trial) {
            double product = 0.0;
            double squaresA = 0.0;
            double squaresB = 0.0;
            for (int i = 0; i < values; ++i) {
                const double a = gauss(engine);
                const double b = gauss(engine);
                product += a * b;
                squaresA += a * a;
                squaresB += b * b;
            }
            exceeding += std::fabs(product) / std::sqrt(squaresA * squaresB) > bound;
        }
        // 200 on average for a bound that is exact, with a standard deviation of 14.
        EXPECT_LT(exceeding, 250) << values;
        EXPECT_GT(exceeding, 10) << values;
    }
}

}  // namespace
