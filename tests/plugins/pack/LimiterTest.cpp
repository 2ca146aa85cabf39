// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "sonrel/plugins/pack/detail/CellPeaks.h"
#include "tests/plugins/pack/DynamicsRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::Parameters;
using reference::ReferenceDynamics;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using sonrel_tests::Through;

detail::SoundView ViewOf(const Samples& samples) {
    return {reinterpret_cast<const unsigned char*>(samples.data()),
            static_cast<long long>(samples.size() / 2)};
}

/// A tone of a quarter of the rate, sampled halfway between its peaks and its zeros.
Samples ToneBetweenItsPeaks(int frames, double amplitude) {
    return sonrel_tests::MakeSamples(frames, [=](int frame, int) {
        const double phase = (frame + 0.5) * std::numbers::pi / 2.0;
        return static_cast<short>(std::lround(amplitude * std::sin(phase)));
    });
}

/// Decibels of the true peak of a whole sound.
double TruePeakDb(const Samples& samples) {
    const int frames = static_cast<int>(samples.size() / 2);
    return 20.0 * std::log10(reference::TruePeakValue(samples, 0, frames) / 32768.0);
}

TEST(TruePeak, IsExactlyThatOfTheRecommendation) {
    const Samples noise = sonrel_tests::Noise(700, 61);
    for (const int first : {-9, 0, 1, 100, 690, 699, 705}) {
        for (const int frames : {1, 2, 3, 8, 48, 255, 256, 257, 600}) {
            EXPECT_EQ(detail::TruePeak(ViewOf(noise), first, first + frames),
                      reference::TruePeakValue(noise, first, first + frames))
                << first << " " << frames;
        }
    }
}

TEST(TruePeak, IsAtMostTheDocumentedRatioAboveTheSamples) {
    // The signs of the factors of the second phase, whose sum is the largest.
    constexpr int SIGNS[] = {-1, 1, -1, 1, -1, 1, 1, -1, 1, -1, 1, -1};
    const Samples worst = sonrel_tests::MakeSamples(
        12, [&](int frame, int) { return static_cast<short>(SIGNS[11 - frame] * 16384); });

    EXPECT_EQ(detail::TruePeak(ViewOf(worst), 0, 12), 16384 * detail::MAX_TRUE_PEAK_RATIO);
}

TEST(SamplePeak, IsTheLargestAbsoluteValueOfBothChannels) {
    Samples samples(2 * 50, 0);
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), 0, 50), 0);
    samples[2 * 20 + 1] = -32768;
    samples[2 * 30] = 32767;
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), 0, 50), 32768);
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), 20, 21), 32768);
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), 21, 50), 32767);
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), 21, 30), 0);
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), -10, 90), 32768);
    EXPECT_EQ(detail::SamplePeak(ViewOf(samples), 60, 90), 0);
}

void ExpectLimiterAsReference(int rate, int cell, const ReferenceDynamics::Windows& windows,
                              const Parameters& parameters) {
    const Samples source = sonrel_tests::Bursts(5000, 62);
    const double gain = parameters.at("gainDb");
    const auto reduction = [&](int first, int end) {
        const double peak = reference::TruePeakValue(source, first, end);
        const double level = 20.0 * std::log10(peak / 32768.0) + gain;
        return std::max(0.0, level - parameters.at("ceilingDb"));
    };

    sonrel_tests::ExpectGains(
        Through("limiter", parameters, source, rate), ReferenceDynamics(cell, windows, reduction),
        [&](double amount) { return std::pow(10.0, (gain - amount) / 20.0); });
}

TEST(Limiter, HasTheGainOfItsCeilingAndWindows) {
    ExpectLimiterAsReference(
        48000, 48, {5, 0, 30, true},
        {{"ceilingDb", -1}, {"gainDb", 0}, {"attackMs", 5}, {"releaseMs", 30}});
    ExpectLimiterAsReference(
        44100, 44, {2, 0, 15, true},
        {{"ceilingDb", -12}, {"gainDb", 6}, {"attackMs", 2}, {"releaseMs", 15}});
    ExpectLimiterAsReference(8000, 8, {1, 0, 1, true},
                             {{"ceilingDb", 0}, {"gainDb", -3}, {"attackMs", 1}, {"releaseMs", 1}});
}

TEST(Limiter, TheTruePeakOfTheOutputIsAtMostATenthOfADecibelAboveTheCeiling) {
    Samples square;
    for (int i = 0; i < 4000; ++i) square.insert(square.end(), 2, i / 37 % 2 ? -32768 : 32767);
    for (const Samples& source : {sonrel_tests::Bursts(8000, 63), sonrel_tests::Noise(8000, 64),
                                  square, ToneBetweenItsPeaks(4000, 32767)}) {
        for (const double gain : {0.0, 18.0}) {
            const auto object = Through("limiter", {{"gainDb", gain}}, source, 48000);

            const Samples limited = object.Render(0, static_cast<int>(source.size() / 2));

            EXPECT_LE(TruePeakDb(limited), -1.0 + 0.1);
            EXPECT_GE(TruePeakDb(limited), -1.0 - 0.1);
        }
    }
}

// The samples are at -3.01 dB, the peaks between them at 0 dB.
TEST(Limiter, ReducesAToneWhosePeaksAreBetweenItsSamples) {
    const Samples tone = ToneBetweenItsPeaks(4000, 32767);
    ASSERT_EQ(detail::SamplePeak(ViewOf(tone), 0, 4000), 23170);

    const Samples limited = Through("limiter", {}, tone, 48000).Render(2000, 4);

    // 23170 at one decibel less is 20650; the interpolator has 0.2 dB more or less there.
    EXPECT_NEAR(limited[0], 20650, 480);
}

TEST(Limiter, LeavesSoundBelowTheCeilingUnchanged) {
    // A true peak of at most 2.03 times 14000 is below -1 dB, which is 29204.
    Samples source = sonrel_tests::Noise(3000, 65);
    for (short& value : source) value = static_cast<short>(value % 14001);

    EXPECT_EQ(Through("limiter", {}, source, 48000).Render(0, 3000), source);
}

TEST(Limiter, ASinglePeakIsReducedToTheCeilingAndTheSoundFarFromItIsNot) {
    Samples source(2 * 9600, 0);
    for (std::size_t i = 0; i < source.size(); i += 2) source[i] = 1000;
    source[2 * 4800] = 32767;

    const Samples limited =
        Through("limiter", {{"ceilingDb", -6}, {"releaseMs", 20}}, source, 48000).Render(0, 9600);

    EXPECT_NEAR(limited[2 * 4800], 16422, 300);
    EXPECT_EQ(limited[2 * (4800 - 6 * 48)], 1000);
    EXPECT_LT(limited[2 * (4800 - 2 * 48)], 900);
    EXPECT_EQ(limited[2 * (4800 + 27 * 48)], 1000);
}

}  // namespace
}  // namespace orlo::sonrel
