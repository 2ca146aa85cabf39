// SPDX-License-Identifier: MIT
#include "host/mix/Loudness.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "host/mix/TruePeakSearch.h"

namespace orlo::host {
namespace {

constexpr int FRAMES = 20000;

/// The result of the library for the whole signal.
double LibraryTruePeak(const std::vector<short>& frames, int rate) {
    const LoudnessState state(
        ebur128_init(2, static_cast<unsigned long>(rate), EBUR128_MODE_TRUE_PEAK));
    ebur128_add_frames_short(state.get(), frames.data(), frames.size() / 2);
    double peaks[2] = {};
    ebur128_true_peak(state.get(), 0, &peaks[0]);
    ebur128_true_peak(state.get(), 1, &peaks[1]);
    return std::max(peaks[0], peaks[1]);
}

std::vector<short> Noise() {
    std::mt19937 generator(1);
    std::vector<short> frames(2 * FRAMES);
    for (short& value : frames) {
        value = static_cast<short>(static_cast<int>(generator() % 65536) - 32768);
    }
    return frames;
}

std::vector<short> Tone() {
    std::vector<short> frames(2 * FRAMES);
    for (int i = 0; i < FRAMES; ++i) {
        // A quarter of the rate, an eighth of a turn late: the samples miss the peaks by 3 dB.
        const double turn = i / 4.0 + 1.0 / 8.0;
        const double value = 20000.0 * std::sin(2.0 * std::numbers::pi * turn);
        frames[2 * i] = static_cast<short>(value);
        frames[2 * i + 1] = static_cast<short>(-value / 2);
    }
    return frames;
}

std::vector<short> Square() {
    std::vector<short> frames(2 * FRAMES);
    for (int i = 0; i < FRAMES; ++i) {
        frames[2 * i] = i / 100 % 2 == 0 ? 32767 : -32768;
        frames[2 * i + 1] = i == 19999 ? -32768 : 0;
    }
    return frames;
}

TEST(TruePeakSearch, FindsTheExactPeakOfTheLibraryAtEveryRateAndPieceSize) {
    for (const int rate : {8000, 44100, 48000, 95999, 96000, 191999, 192000}) {
        for (const auto& frames : {Noise(), Tone(), Square()}) {
            const double expected = LibraryTruePeak(frames, rate);
            for (const std::size_t piece :
                 {std::size_t{1}, std::size_t{255}, std::size_t{257}, std::size_t{FRAMES}}) {
                TruePeakSearch search(rate);
                for (std::size_t at = 0; at < FRAMES; at += piece) {
                    search.Add(&frames[2 * at], std::min(piece, FRAMES - at));
                }
                EXPECT_EQ(search.Peak(), expected) << rate << " Hz, pieces of " << piece;
            }
        }
    }
}

TEST(TruePeakSearch, MeasuresOnlyRangesThatMayContainANewPeak) {
    const std::vector<short> tone = Tone();
    TruePeakSearch search(48000);

    search.Add(tone.data(), FRAMES);

    EXPECT_LT(search.MeasuredFrames(), 2000);
}

TEST(LoudnessMeter, ATruePeakIsFoundBetweenTheSamples) {
    const std::vector<short> tone = Tone();
    LoudnessMeter meter(48000);

    meter.Add(tone.data(), FRAMES);

    // The wave's amplitude is 20000 of 32768: -4.29 dB. Its samples reach -7.30 dB.
    EXPECT_NEAR(meter.TruePeakDb().value(), -4.29, 0.3);
}

TEST(LoudnessMeter, SilenceHasNeitherLoudnessNorPeak) {
    const std::vector<short> silence(2 * 48000);
    LoudnessMeter meter(48000);

    meter.Add(silence.data(), 48000);

    EXPECT_EQ(meter.IntegratedLufs(), std::nullopt);
    EXPECT_EQ(meter.TruePeakDb(), std::nullopt);
}

TEST(LoudnessMeter, ASignalShorterThanABlockHasAPeakAndNoLoudness) {
    const std::vector<short> tone = Tone();
    LoudnessMeter meter(48000);

    meter.Add(tone.data(), 19199);  // a block is 0.4 s: 19200 frames

    EXPECT_EQ(meter.IntegratedLufs(), std::nullopt);
    EXPECT_NE(meter.TruePeakDb(), std::nullopt);
}

TEST(LoudnessMeter, AToneOf997HertzAtFullScaleOnOneChannelIsMinus3) {
    // The calibration of the standard: -3.01 LKFS.
    std::vector<short> frames(2 * 96000);
    for (int i = 0; i < 96000; ++i) {
        frames[2 * i] =
            static_cast<short>(32767.0 * std::sin(2.0 * std::numbers::pi * 997.0 * i / 48000.0));
    }
    LoudnessMeter meter(48000);

    meter.Add(frames.data(), 96000);

    EXPECT_NEAR(meter.IntegratedLufs().value(), -3.01, 0.02);
}

}  // namespace
}  // namespace orlo::host
