// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/TruePeak.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "tests/loudness/LoudnessSignals.h"
#include "tests/support/CpuPaths.h"

namespace orlo::sonrel::detail {
namespace {

using sonrel_tests::Frames;

/// The weights of a phase by the age of the sample: every fourth or second value of a sinc of 49
/// taps under a Hann window.
std::vector<double> PlainPhase(int phase, int phases) {
    std::vector<double> weights;
    for (int tap = phase; tap < 49; tap += phases) {
        const double angle = (tap - 24) * std::numbers::pi / phases;
        const double sinc = tap == 24 ? 1.0 : std::sin(angle) / angle;
        weights.push_back(sinc * (0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * tap / 48.0)));
    }
    return weights;
}

/// The true peak, every value of every phase.
double PlainPeak(const Frames& frames, int phases) {
    double peak = 0.0;
    const auto count = static_cast<int>(frames.size() / 2);
    for (int phase = 0; phase < phases; ++phase) {
        const std::vector<double> weights = PlainPhase(phase, phases);
        for (int value = 0; value < 2 * count; ++value) {
            double sum = 0.0;
            for (int age = 0; age < static_cast<int>(weights.size()); ++age) {
                if (value - 2 * age < 0) break;
                sum += weights[static_cast<std::size_t>(age)] *
                       frames[static_cast<std::size_t>(value - 2 * age)];
            }
            peak = std::max(peak, std::abs(sum));
        }
    }
    for (const short value : frames) peak = std::max(peak, std::abs(static_cast<double>(value)));
    return peak;
}

/// @param piece  frames that are added at once
double FoundPeak(const Frames& frames, int rate, int piece) {
    Frames withHistory(2 * TruePeak::HISTORY);
    withHistory.insert(withHistory.end(), frames.begin(), frames.end());
    TruePeak peak(rate);
    const auto count = static_cast<int>(frames.size() / 2);
    for (int at = 0; at < count; at += piece) {
        peak.Add(withHistory.data() + 2 * (TruePeak::HISTORY + at), std::min(piece, count - at));
    }
    return peak.Peak();
}

/// Noise at a random level for each 20 frames, so that the screens skip some of it.
Frames ChangingNoise(unsigned int seed) {
    Frames frames = sonrel_tests::WhiteNoise(1500, seed);
    std::mt19937 random(seed);
    int shift = 0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (i % 40 == 0) shift = static_cast<int>(random() % 6);
        frames[i] = static_cast<short>(frames[i] >> shift);
    }
    return frames;
}

class TruePeakTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(TruePeakTest);

TEST_P(TruePeakTest, IsThatOfFilteringEverySampleInEveryPhase) {
    for (unsigned int seed = 1; seed <= 40; ++seed) {
        const Frames frames = ChangingNoise(seed);
        EXPECT_NEAR(FoundPeak(frames, 48000, 480) / PlainPeak(frames, 4), 1.0, 2e-6) << seed;
        EXPECT_NEAR(FoundPeak(frames, 96000, 960) / PlainPeak(frames, 2), 1.0, 2e-6) << seed;
    }
}

TEST_P(TruePeakTest, HasTheFourPhasesBelow96000HertzTwoBelow192000AndOneAbove) {
    const Frames frames = ChangingNoise(7);
    for (const auto& [rate, phases] :
         {std::pair{8000, 4}, {95999, 4}, {96000, 2}, {191999, 2}, {192000, 1}}) {
        EXPECT_NEAR(FoundPeak(frames, rate, 700) / PlainPeak(frames, phases), 1.0, 2e-6) << rate;
    }
}

TEST_P(TruePeakTest, HasTheSameBitsForPiecesOfAnySize) {
    for (const int rate : {48000, 96000, 192000}) {
        const Frames frames = ChangingNoise(9);
        const double whole = FoundPeak(frames, rate, 1500);
        for (const int piece : {1, 7, 31, 32, 33, 513}) {
            EXPECT_EQ(FoundPeak(frames, rate, piece), whole) << rate << " Hz, " << piece;
        }
    }
}

TEST_P(TruePeakTest, HasTheBitsOfTheBaseline) {
    for (const int rate : {48000, 96000, 192000}) {
        const Frames frames = ChangingNoise(11);
        const double found = FoundPeak(frames, rate, 480);

        ASSERT_TRUE(ForceCpuPath(CpuPath::Baseline));
        EXPECT_EQ(FoundPeak(frames, rate, 480), found) << rate << " Hz";
        ASSERT_TRUE(ForceCpuPath(GetParam()));
    }
}

/// The loudest signal for a phase, the sign of each weight at full scale, and 5 % lower 100 frames
/// earlier: the screens must be exact to find the second.
Frames WorstCase(int phase, int phases) {
    Frames frames(2 * 300);
    const std::vector<double> weights = PlainPhase(phase, phases);
    for (std::size_t age = 0; age < weights.size(); ++age) {
        const int sign = weights[age] > 0.0 ? 1 : -1;
        frames[2 * (100 - age)] = static_cast<short>(31128 * sign);
        frames[2 * (200 - age) + 1] = static_cast<short>(32767 * sign);
    }
    return frames;
}

TEST_P(TruePeakTest, TheScreensKeepTheLoudestPossibleValueOfEveryPhase) {
    for (const auto& [rate, phases] : {std::pair{48000, 4}, {96000, 2}}) {
        for (int phase = 1; phase < phases; ++phase) {
            double limit = 0.0;
            for (const double weight : PlainPhase(phase, phases)) limit += std::abs(weight);
            const Frames frames = WorstCase(phase, phases);

            // Another phase may reach more.
            EXPECT_GE(FoundPeak(frames, rate, 480) / 32767.0, limit * 0.999999) << phase;
            EXPECT_NEAR(FoundPeak(frames, rate, 480) / PlainPeak(frames, phases), 1.0, 2e-6);
            EXPECT_LE(limit, PeakFilter(rate).gain * 1.000001) << phase;
        }
    }
}

TEST_P(TruePeakTest, TheLowestSampleCountsInFull) {
    Frames frames(2 * 100);
    frames[2 * 99 + 1] = -32768;

    EXPECT_EQ(FoundPeak(frames, 48000, 100), 32768.0);
}

TEST_P(TruePeakTest, DoesNotReadBeyondTheFrames) {
    Frames frames(2 * 164);
    // After the last frame: would be the peak.
    frames[2 * 163] = 32767;
    TruePeak peak(48000);

    peak.Add(frames.data() + 2 * TruePeak::HISTORY, 99);

    EXPECT_EQ(peak.Peak(), 0.0f);
}

}  // namespace
}  // namespace orlo::sonrel::detail
