// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <vector>

#include "sonrel/sync/detail/Fft.h"
#include "sonrel/sync/detail/FftTables.h"
#include "tests/reference/ReferenceFft.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/Noise.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::detail::FastFourierTransform;
using orlo::sonrel::detail::SplitThreads;
using orlo::sonrel::detail::ThreadSplit;
using orlo::sonrel::detail::TwiddleRecurrence;

class Fft : public orlo::sonrel::test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(Fft);

std::vector<double> Noise(unsigned int points) {
    return sonrel_tests::MakeNoise(
        2 * static_cast<std::size_t>(points), points,
        [](std::uint32_t bits) { return static_cast<double>(static_cast<int>(bits)) / 65536.0; });
}

bool SameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

// ---- Values

TEST_P(Fft, NoPointsLeaveTheDataUnchanged) {
    std::vector<double> data = {3.0, -4.0};

    FastFourierTransform(data.data(), 0);

    EXPECT_EQ(data, (std::vector<double>{3.0, -4.0}));
}

TEST_P(Fft, OnePointLeavesTheDataUnchanged) {
    std::vector<double> data = {3.0, -4.0, 77.0};

    FastFourierTransform(data.data(), 1);

    EXPECT_EQ(data, (std::vector<double>{3.0, -4.0, 77.0}));
}

TEST_P(Fft, TwoPointsBecomeSumAndDifference) {
    std::vector<double> data = {3.0, -4.0, 1.5, 2.0, 77.0};

    FastFourierTransform(data.data(), 2);

    EXPECT_EQ(data, (std::vector<double>{4.5, -2.0, 1.5, -6.0, 77.0}));
}

TEST_P(Fft, AConstantBecomesOnePeakOfTheHeightOfItsSum) {
    for (const unsigned int points : {4U, 32U, 64U, 4096U}) {
        std::vector<double> data(2 * static_cast<std::size_t>(points), 0.0);
        for (std::size_t i = 0; i < data.size(); i += 2) data[i] = 0.25;

        FastFourierTransform(data.data(), points);

        EXPECT_EQ(data[0], 0.25 * points);
        for (std::size_t i = 1; i < data.size(); ++i) ASSERT_EQ(data[i], 0.0) << points << " " << i;
    }
}

TEST_P(Fft, CountingToEightHasTheseBits) {
    std::vector<double> data;
    for (int i = 0; i < 8; ++i) data.insert(data.end(), {static_cast<double>(i), 0.0});

    FastFourierTransform(data.data(), 8);

    const std::vector<double> expected = {28,
                                          0,
                                          -4.0000000000000018,
                                          9.6568542494923797,
                                          -4,
                                          3.9999999999999991,
                                          -3.9999999999999996,
                                          1.6568542494923779,
                                          -4,
                                          0,
                                          -4,
                                          -1.6568542494923797,
                                          -4,
                                          -3.9999999999999991,
                                          -3.9999999999999987,
                                          -9.6568542494923779};
    EXPECT_EQ(data, expected);
}

TEST_P(Fft, AThousandPointsHaveTheseBits) {
    std::vector<double> data;
    for (int i = 0; i < 1024; ++i) {
        data.insert(data.end(), {static_cast<double>(7919 * i % 2001 - 1000), 0.0});
    }

    FastFourierTransform(data.data(), 1024);

    EXPECT_EQ(data[2], 2200.791617216742);
    EXPECT_EQ(data[3], -57.812507881364127);
    EXPECT_EQ(data[1022], 33.918491928694948);
    EXPECT_EQ(data[1023], -1360.7653098812254);
}

TEST_P(Fft, TheSpectrumOfAnImpulseTurnsClockwise) {
    constexpr double PI = 3.14159265358979323846;
    std::vector<double> data(2 * 256, 0.0);
    data[2] = 1.0;

    FastFourierTransform(data.data(), 256);

    for (int k = 0; k < 256; ++k) {
        EXPECT_NEAR(data[2 * static_cast<std::size_t>(k)], std::cos(2 * PI * k / 256), 1e-13);
        EXPECT_NEAR(data[2 * static_cast<std::size_t>(k) + 1], -std::sin(2 * PI * k / 256), 1e-13);
    }
}

// ---- Identity

TEST_P(Fft, EverySizeHasTheBitsOfTheReference) {
    for (unsigned int points = 1; points <= 1U << 16; points *= 2) {
        std::vector<double> expected = Noise(points);
        std::vector<double> data = expected;
        ReferenceFft(expected.data(), points);

        FastFourierTransform(data.data(), points, 1);

        ASSERT_TRUE(SameBits(data, expected)) << points;
    }
}

TEST_P(Fft, EveryThreadBudgetHasTheSameBits) {
    for (const unsigned int points : {2U, 16U, 64U, 128U, 2048U, 1U << 17}) {
        std::vector<double> expected = Noise(points);
        const std::vector<double> input = expected;
        ReferenceFft(expected.data(), points);
        for (const unsigned int threads : {0U, 1U, 2U, 3U, 8U, 64U}) {
            std::vector<double> data = input;

            FastFourierTransform(data.data(), points, threads);

            ASSERT_TRUE(SameBits(data, expected)) << points << " points, threads " << threads;
        }
    }
}

TEST_P(Fft, NothingAfterTheDataIsChanged) {
    for (const unsigned int points : {2U, 32U, 64U, 1024U}) {
        std::vector<double> data = Noise(points);
        data.insert(data.end(), 16, 12345.0);

        FastFourierTransform(data.data(), points, 2);

        for (std::size_t i = 2 * static_cast<std::size_t>(points); i < data.size(); ++i) {
            ASSERT_EQ(data[i], 12345.0);
        }
    }
}

TEST_P(Fft, TheDataNeedNoAlignment) {
    std::vector<double> expected = Noise(512);
    std::vector<double> shifted(expected.size() + 1);
    std::copy(expected.begin(), expected.end(), shifted.begin() + 1);
    ReferenceFft(expected.data(), 512);

    FastFourierTransform(shifted.data() + 1, 512, 1);

    EXPECT_TRUE(SameBits({shifted.begin() + 1, shifted.end()}, expected));
}

// ---- Threads and factors

TEST(FftThreads, TheOddThreadGoesToTheFirstHalf) {
    const auto split = [](int threads) {
        const ThreadSplit halves = SplitThreads(threads);
        return std::pair(halves.first, halves.second);
    };

    EXPECT_EQ(split(1), std::pair(1, 0));
    EXPECT_EQ(split(2), std::pair(1, 1));
    EXPECT_EQ(split(3), std::pair(2, 1));
    EXPECT_EQ(split(8), std::pair(4, 4));
}

TEST(FftFactors, TheFirstFactorIsOne) {
    const TwiddleRecurrence factor(1024);

    EXPECT_EQ(factor.Re(), 1.0);
    EXPECT_EQ(factor.Im(), 0.0);
}

TEST(FftFactors, FactorsAdvanceByTheRecurrence) {
    // c1 and c2 of 1024 points, from the definitions 2 sin^2(pi / N) and sin(2 pi / N).
    TwiddleRecurrence factor(1024);

    factor.Advance();

    EXPECT_NEAR(factor.Re(), 1.0 - 1.8824717398857223e-05, 1.2e-16);
    EXPECT_NEAR(factor.Im(), -0.006135884649154456, 1e-16);
}

}  // namespace
}  // namespace sonrel_tests
