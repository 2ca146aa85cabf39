// SPDX-License-Identifier: MIT
#include "sonrel/loudness/LoudnessMeter.h"

#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/loudness/LoudnessSignals.h"
#include "tests/support/CpuPaths.h"

namespace orlo::sonrel {
namespace {

using sonrel_tests::Frames;
using sonrel_tests::Measured;

auto ResultsOf(const LoudnessMeter& meter) {
    return std::tuple(meter.MomentaryLufs(), meter.ShortTermLufs(), meter.MaxMomentaryLufs(),
                      meter.MaxShortTermLufs(), meter.IntegratedLufs(), meter.RangeLu(),
                      meter.TruePeakDb());
}

const auto NOTHING = ResultsOf(LoudnessMeter(1));

Frames ToneOf(int rate, double seconds, double decibels) {
    Frames frames;
    sonrel_tests::AppendTone(frames, rate, seconds, decibels);
    return frames;
}

class LoudnessMeterPaths : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(LoudnessMeterPaths);

TEST_P(LoudnessMeterPaths, PiecesOfAnySizeHaveTheBitsOfOnePiece) {
    for (const int rate : {8000, 11025, 44100, 96000, 192000}) {
        const Frames frames = sonrel_tests::WhiteNoise(static_cast<std::size_t>(4 * rate), 5);
        const auto whole = ResultsOf(Measured(frames, rate));
        std::mt19937 random(17);
        LoudnessMeter meter(rate);
        for (std::size_t at = 0; at < frames.size() / 2;) {
            const std::size_t piece =
                std::min<std::size_t>(random() % 3000, frames.size() / 2 - at);
            meter.Add(frames.data() + 2 * at, piece);
            at += piece;
        }

        EXPECT_EQ(ResultsOf(meter), whole) << rate << " Hz";
    }
}

TEST_P(LoudnessMeterPaths, HasTheBitsOfTheBaseline) {
    for (const int rate : {11025, 48000, 96000, 192000}) {
        const Frames frames = sonrel_tests::WhiteNoise(static_cast<std::size_t>(4 * rate), 6);
        const auto results = ResultsOf(Measured(frames, rate));

        ASSERT_TRUE(detail::ForceCpuPath(detail::CpuPath::Baseline));
        EXPECT_EQ(ResultsOf(Measured(frames, rate)), results) << rate << " Hz";
        ASSERT_TRUE(detail::ForceCpuPath(GetParam()));
    }
}

TEST_P(LoudnessMeterPaths, AMeterThatIsResetAfterAnyFrameHasTheBitsOfANewOne) {
    for (const int rate : {8000, 11025, 48000, 192000}) {
        const Frames frames = sonrel_tests::WhiteNoise(static_cast<std::size_t>(4 * rate), 12);
        const auto expected = ResultsOf(Measured(frames, rate));
        LoudnessMeter meter(rate);
        // In a step, at the end of a step, at the end of 100 milliseconds, after 3 seconds.
        for (const int before : {1, rate / 100, rate / 100 + 7, rate / 10, 3 * rate + 5}) {
            meter.Add(frames.data(), static_cast<std::size_t>(before));
            meter.Reset();
            ASSERT_EQ(ResultsOf(meter), NOTHING) << rate << " Hz after " << before << " frames";

            meter.Add(frames.data(), frames.size() / 2);

            ASSERT_EQ(ResultsOf(meter), expected) << rate << " Hz after " << before << " frames";
            meter.Reset();
        }
    }
}

TEST(LoudnessMeter, AToneOf997HertzAtFullScaleOnOneChannelIsMinus3) {
    // The calibration of the standard: -3.01 LKFS.
    Frames frames(2 * 96000);
    for (std::size_t i = 0; i < 96000; ++i) {
        frames[2 * i] = sonrel_tests::ToShort(
            32767.0 * std::sin(2.0 * std::numbers::pi * 997.0 * static_cast<double>(i) / 48000.0));
    }

    EXPECT_NEAR(Measured(frames, 48000).IntegratedLufs().value(), -3.01, 0.01);
}

TEST(LoudnessMeter, EqualChannelsAre3LuLouderThanOne) {
    Frames stereo = ToneOf(48000, 2.0, -20.0);
    const double both = Measured(stereo, 48000).IntegratedLufs().value();
    for (std::size_t i = 1; i < stereo.size(); i += 2) stereo[i] = 0;
    const double left = Measured(stereo, 48000).IntegratedLufs().value();

    EXPECT_NEAR(both - left, 3.0103, 1e-4);
}

TEST(LoudnessMeter, SilenceHasNoResult) {
    const Frames silence(2 * 48000 * 4);

    EXPECT_EQ(ResultsOf(Measured(silence, 48000)), NOTHING);
}

TEST(LoudnessMeter, WithoutFramesThereIsNoResult) {
    LoudnessMeter meter(48000);

    meter.Add(nullptr, 0);

    EXPECT_EQ(ResultsOf(meter), NOTHING);
}

TEST(LoudnessMeter, MomentaryAndIntegratedLoudnessBeginWithTheFrameThatCompletes400Milliseconds) {
    const Frames tone = ToneOf(48000, 1.0, -20.0);
    LoudnessMeter meter(48000);

    meter.Add(tone.data(), 19199);
    EXPECT_EQ(meter.MomentaryLufs(), std::nullopt);
    EXPECT_EQ(meter.IntegratedLufs(), std::nullopt);
    EXPECT_NE(meter.TruePeakDb(), std::nullopt);

    meter.Add(tone.data() + 2 * 19199, 1);
    EXPECT_NEAR(meter.MomentaryLufs().value(), -20.0, 0.1);
    EXPECT_EQ(meter.IntegratedLufs(), meter.MomentaryLufs());
}

TEST(LoudnessMeter, ShortTermLoudnessAndTheRangeBeginWithTheFrameThatCompletes3Seconds) {
    const Frames tone = ToneOf(48000, 3.0, -20.0);
    LoudnessMeter meter(48000);

    meter.Add(tone.data(), 143999);
    EXPECT_EQ(meter.ShortTermLufs(), std::nullopt);
    EXPECT_EQ(meter.RangeLu(), std::nullopt);

    meter.Add(tone.data() + 2 * 143999, 1);
    EXPECT_NEAR(meter.ShortTermLufs().value(), -20.0, 0.1);
    EXPECT_EQ(meter.RangeLu(), 0.0);
}

TEST(LoudnessMeter, TheMaximaStayWhenTheSoundEnds) {
    Frames frames = ToneOf(48000, 3.0, -20.0);
    sonrel_tests::AppendSilence(frames, 48000, 5.0);
    const LoudnessMeter meter = Measured(frames, 48000);

    EXPECT_EQ(meter.MomentaryLufs(), std::nullopt);
    EXPECT_EQ(meter.ShortTermLufs(), std::nullopt);
    EXPECT_NEAR(meter.MaxMomentaryLufs().value(), -20.0, 0.1);
    EXPECT_NEAR(meter.MaxShortTermLufs().value(), -20.0, 0.1);
}

TEST(LoudnessMeter, SoundBelowMinus70HasMaximaButNeitherIntegratedLoudnessNorRange) {
    const LoudnessMeter meter = Measured(ToneOf(48000, 4.0, -75.0), 48000);

    EXPECT_NEAR(meter.MaxMomentaryLufs().value(), -75.0, 0.5);
    EXPECT_EQ(meter.IntegratedLufs(), std::nullopt);
    EXPECT_EQ(meter.RangeLu(), std::nullopt);
}

TEST(LoudnessMeter, TheLastFramesCountForTheTruePeakAtOnce) {
    Frames frames(2 * 1000);
    frames[2 * 999 + 1] = 16384;

    EXPECT_NEAR(Measured(frames, 48000).TruePeakDb().value(), -6.02, 0.01);
}

TEST(LoudnessMeter, APeakThatFollowsFrameByFrameIsThatOfTheWhole) {
    const Frames noise = sonrel_tests::WhiteNoise(2000, 8);
    LoudnessMeter meter(48000);
    for (std::size_t i = 0; i < 2000; ++i) {
        meter.Add(noise.data() + 2 * i, 1);
        static_cast<void>(meter.TruePeakDb());
    }

    EXPECT_EQ(meter.TruePeakDb(), Measured(noise, 48000).TruePeakDb());
}

TEST(LoudnessMeter, ARateOutside8000To192000MeasuresNothing) {
    const Frames noise = sonrel_tests::WhiteNoise(200000, 9);
    for (const int rate : {8000, 192000}) {
        EXPECT_NE(Measured(noise, rate).IntegratedLufs(), std::nullopt) << rate;
    }
    for (const int rate : {-1, 0, 7999, 192001}) {
        EXPECT_EQ(ResultsOf(Measured(noise, rate)), NOTHING) << rate;
    }
}

TEST(LoudnessMeter, AResetMeterMeasuresLikeANewOne) {
    const Frames noise = sonrel_tests::WhiteNoise(200001, 10);
    LoudnessMeter meter = Measured(noise, 48000);

    meter.Reset();
    EXPECT_EQ(ResultsOf(meter), NOTHING);

    const Frames tone = ToneOf(48000, 4.0, -20.0);
    meter.Add(tone.data(), tone.size() / 2);
    EXPECT_EQ(ResultsOf(meter), ResultsOf(Measured(tone, 48000)));
}

TEST(LoudnessMeter, AMovedMeterContinues) {
    const Frames noise = sonrel_tests::WhiteNoise(200000, 11);
    LoudnessMeter first(48000);
    first.Add(noise.data(), 777);
    LoudnessMeter second(8000);

    second = std::move(first);
    second.Add(noise.data() + 2 * 777, 200000 - 777);

    EXPECT_EQ(ResultsOf(second), ResultsOf(Measured(noise, 48000)));
}

TEST(LoudnessMeter, TheLargestSquareWaveStaysFinite) {
    Frames square(2 * 192000 * 4);
    for (std::size_t i = 0; i < square.size(); ++i) square[i] = i / 400 % 2 == 0 ? 32767 : -32768;
    const LoudnessMeter meter = Measured(square, 192000);

    // A square wave has 3 dB more energy than a sine of its peak.
    EXPECT_NEAR(meter.IntegratedLufs().value(), 3.0, 1.5);
    EXPECT_EQ(meter.TruePeakDb(), 0.0);
}

}  // namespace
}  // namespace orlo::sonrel
