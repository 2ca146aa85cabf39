// SPDX-License-Identifier: MIT

// The test signals of EBU Tech 3341 (table 1) and EBU Tech 3342 (table 1) that are defined by
// formulas, with their tolerances. Not here: signal 6 of Tech 3341, which has five channels, and
// recordings of programmes, which are signals 7 and 8 of Tech 3341 and 5 and 6 of Tech 3342.
#include <gtest/gtest.h>

#include <numeric>

#include "tests/loudness/LoudnessSignals.h"

namespace orlo::sonrel {
namespace {

using sonrel_tests::AppendSilence;
using sonrel_tests::AppendTone;
using sonrel_tests::Frames;
using sonrel_tests::Measured;

constexpr int RATE = 48000;
constexpr double LOUDNESS_TOLERANCE = 0.1;
constexpr double RANGE_TOLERANCE = 1.0;

struct Tone {
    double seconds;
    double decibels;
};

Frames Tones(const std::vector<Tone>& tones) {
    Frames frames;
    for (const Tone& tone : tones) AppendTone(frames, RATE, tone.seconds, tone.decibels);
    return frames;
}

TEST(Tech3341, Signals1And2MeasureTheirLevelOnEveryTimeScale) {
    for (const double level : {-23.0, -33.0}) {
        const LoudnessMeter meter = Measured(Tones({{20.0, level}}), RATE);
        EXPECT_NEAR(meter.MomentaryLufs().value(), level, LOUDNESS_TOLERANCE);
        EXPECT_NEAR(meter.ShortTermLufs().value(), level, LOUDNESS_TOLERANCE);
        EXPECT_NEAR(meter.IntegratedLufs().value(), level, LOUDNESS_TOLERANCE);
    }
}

TEST(Tech3341, Signals3To5AreGatedToMinus23) {
    const std::vector<Tone> signals[] = {
        {{10.0, -36.0}, {60.0, -23.0}, {10.0, -36.0}},
        {{10.0, -72.0}, {10.0, -36.0}, {60.0, -23.0}, {10.0, -36.0}, {10.0, -72.0}},
        {{20.0, -26.0}, {20.1, -20.0}, {20.0, -26.0}}};
    for (const auto& tones : signals) {
        EXPECT_NEAR(Measured(Tones(tones), RATE).IntegratedLufs().value(), -23.0,
                    LOUDNESS_TOLERANCE);
    }
}

/// Checks a reading after every 10 milliseconds from a time on.
template <typename Reading>
void ExpectConstant(const Frames& frames, std::size_t fromFrame, Reading reading) {
    LoudnessMeter meter(RATE);
    for (std::size_t at = 0; at < frames.size() / 2; at += RATE / 100) {
        meter.Add(frames.data() + 2 * at, RATE / 100);
        if (at >= fromFrame) {
            ASSERT_NEAR(reading(meter), -23.0, LOUDNESS_TOLERANCE) << "frame " << at;
        }
    }
}

TEST(Tech3341, Signal9HasAConstantShortTermLoudness) {
    std::vector<Tone> tones;
    for (int i = 0; i < 5; ++i) tones.insert(tones.end(), {{1.34, -20.0}, {1.66, -30.0}});

    ExpectConstant(Tones(tones), 3 * RATE,
                   [](const LoudnessMeter& meter) { return meter.ShortTermLufs().value(); });
}

TEST(Tech3341, Signal12HasAConstantMomentaryLoudness) {
    std::vector<Tone> tones;
    for (int i = 0; i < 25; ++i) tones.insert(tones.end(), {{0.18, -20.0}, {0.22, -30.0}});

    ExpectConstant(Tones(tones), RATE,
                   [](const LoudnessMeter& meter) { return meter.MomentaryLufs().value(); });
}

TEST(Tech3341, Signals10HaveTheirLargestShortTermLoudnessAtEveryOffset) {
    for (int i = 1; i <= 20; ++i) {
        Frames frames;
        AppendSilence(frames, RATE, i * 0.150);
        AppendTone(frames, RATE, 3.0, -23.0);
        AppendSilence(frames, RATE, 1.0);
        EXPECT_NEAR(Measured(frames, RATE).MaxShortTermLufs().value(), -23.0, LOUDNESS_TOLERANCE);
    }
}

TEST(Tech3341, Signals13HaveTheirLargestMomentaryLoudnessAtEveryOffset) {
    for (int i = 1; i <= 20; ++i) {
        Frames frames;
        AppendSilence(frames, RATE, i * 0.020);
        AppendTone(frames, RATE, 0.4, -23.0);
        AppendSilence(frames, RATE, 1.0);
        EXPECT_NEAR(Measured(frames, RATE).MaxMomentaryLufs().value(), -23.0, LOUDNESS_TOLERANCE);
    }
}

/// A tone in the next segment, @p delay seconds after its start.
void AddSegment(LoudnessMeter& meter, double delay, double length, double decibels) {
    Frames segment;
    AppendSilence(segment, RATE, delay);
    AppendTone(segment, RATE, length, decibels);
    AppendSilence(segment, RATE, length - delay);
    meter.Add(segment.data(), segment.size() / 2);
}

TEST(Tech3341, Signal11RaisesTheLargestShortTermLoudnessSegmentBySegment) {
    LoudnessMeter meter(RATE);
    for (int i = 0; i < 20; ++i) {
        AddSegment(meter, i * 0.150, 3.0, -38.0 + i);
        EXPECT_NEAR(meter.MaxShortTermLufs().value(), -38.0 + i, LOUDNESS_TOLERANCE);
    }
}

TEST(Tech3341, Signal14RaisesTheLargestMomentaryLoudnessSegmentBySegment) {
    LoudnessMeter meter(RATE);
    for (int i = 0; i < 20; ++i) {
        AddSegment(meter, i * 0.020, 0.4, -38.0 + i);
        EXPECT_NEAR(meter.MaxMomentaryLufs().value(), -38.0 + i, LOUDNESS_TOLERANCE);
    }
}

TEST(Tech3341, Signals15To19HaveTheTruePeakOfTheWave) {
    struct Wave {
        double framesOfATurn;
        double amplitude;
        double degrees;
        double decibels;
    };
    for (const Wave& wave :
         {Wave{4.0, 0.50, 0.0, -6.0}, Wave{4.0, 0.50, 45.0, -6.0}, Wave{6.0, 0.50, 60.0, -6.0},
          Wave{8.0, 0.50, 67.5, -6.0}, Wave{4.0, 1.41, 45.0, 3.0}}) {
        constexpr int COUNT = RATE;
        constexpr int FADE = RATE / 100;
        Frames frames;
        for (int i = 0; i < COUNT; ++i) {
            const double fade = std::min(
                {1.0, static_cast<double>(i) / FADE, static_cast<double>(COUNT - 1 - i) / FADE});
            const double angle =
                2.0 * std::numbers::pi * (i / wave.framesOfATurn + wave.degrees / 360.0);
            const short value =
                sonrel_tests::ToShort(32768.0 * wave.amplitude * fade * std::sin(angle));
            frames.insert(frames.end(), {value, value});
        }
        const double peak = Measured(frames, RATE).TruePeakDb().value();
        EXPECT_GE(peak, wave.decibels - 0.4) << wave.degrees;
        EXPECT_LE(peak, wave.decibels + 0.2) << wave.degrees;
    }
}

/// A sine of a sixth of the rate at half of full scale, with one turn of a fourth of the rate at
/// full scale in its middle. The phase is continuous.
/// @param place  frames at four times the rate, from the start of the turn
double TurnInAToneAt(int place) {
    constexpr double SIXTH = 24.0;
    constexpr int FOURTH = 16;
    const auto sine = [](double turns) { return std::sin(2.0 * std::numbers::pi * turns); };
    if (place < 0) return 0.5 * sine(place / SIXTH);
    if (place < FOURTH) return sine(static_cast<double>(place) / FOURTH);
    return 0.5 * sine((place - FOURTH) / SIXTH);
}

/// Half a second of it at four times the rate, with a fade at both ends.
std::vector<double> TurnInATone() {
    constexpr int HALF = RATE;
    constexpr double FADE = RATE / 25.0;
    std::vector<double> wave;
    for (int place = -HALF; place < HALF; ++place) {
        const double fade = std::min(1.0, (HALF - std::abs(place)) / FADE);
        wave.push_back(fade * TurnInAToneAt(place));
    }
    return wave;
}

/// A low-pass at half of the rate, for four times the rate: a sinc with a Hann window.
std::vector<double> LowPass() {
    constexpr int HALF = 96;
    std::vector<double> weights;
    double sum = 0.0;
    for (int i = -HALF; i <= HALF; ++i) {
        const double x = std::numbers::pi * i / 4.0;
        const double window = 0.5 + 0.5 * std::cos(std::numbers::pi * i / (HALF + 1));
        weights.push_back(window * (i == 0 ? 1.0 : std::sin(x) / x));
        sum += weights.back();
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

/// Every fourth frame of a filtered wave, from an offset on.
Frames Decimated(const std::vector<double>& wave, const std::vector<double>& weights,
                 std::size_t offset) {
    Frames frames;
    for (std::size_t at = offset; at + weights.size() <= wave.size(); at += 4) {
        const double value = std::inner_product(
            weights.begin(), weights.end(), wave.begin() + static_cast<std::ptrdiff_t>(at), 0.0);
        const short sample = sonrel_tests::ToShort(32768.0 * value);
        frames.insert(frames.end(), {sample, sample});
    }
    return frames;
}

TEST(Tech3341, Signals20To23HaveTheTruePeakOfATurnBetweenTheSamples) {
    const std::vector<double> wave = TurnInATone();
    const std::vector<double> weights = LowPass();
    for (std::size_t offset = 0; offset < 4; ++offset) {
        const double peak = Measured(Decimated(wave, weights, offset), RATE).TruePeakDb().value();
        EXPECT_GE(peak, -0.4) << "offset " << offset;
        EXPECT_LE(peak, 0.2) << "offset " << offset;
    }
}

TEST(Tech3342, Signals1To4HaveTheirRange) {
    struct Signal {
        std::vector<double> levels;
        double range;
    };
    for (const Signal& signal :
         {Signal{{-20.0, -30.0}, 10.0}, Signal{{-20.0, -15.0}, 5.0}, Signal{{-40.0, -20.0}, 20.0},
          Signal{{-50.0, -35.0, -20.0, -35.0, -50.0}, 15.0}}) {
        std::vector<Tone> tones;
        for (const double level : signal.levels) tones.push_back({20.0, level});
        EXPECT_NEAR(Measured(Tones(tones), RATE).RangeLu().value(), signal.range, RANGE_TOLERANCE);
    }
}

}  // namespace
}  // namespace orlo::sonrel
