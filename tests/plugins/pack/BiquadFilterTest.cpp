// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/BiquadFilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <string>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using detail::BiquadCoefficients;
using detail::HighPassCoefficients;
using detail::LowPassCoefficients;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using sonrel_tests::Stereo;
using ::testing::Each;
using ::testing::ElementsAre;

/// Gain of a section at a frequency: |H(e^jw)|.
double GainAt(const BiquadCoefficients& c, int rate, double frequency) {
    const std::complex<double> z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
    return std::abs((c.b0 + c.b1 * z + c.b2 * z * z) / (1.0 + c.a1 * z + c.a2 * z * z));
}

RenderedObject Filtered(const std::string& name, const PluginPack::Parameters& parameters,
                        const Samples& source) {
    RenderedObject object;
    object.source = source;
    object.effects = {PluginPack::CreateEffect(name, parameters)};
    return object;
}

/// A source that is silent except for one full-scale frame.
Samples Impulse(int frames, int at) {
    Samples source(static_cast<std::size_t>(frames) * 2, 0);
    source[2 * static_cast<std::size_t>(at)] = 32767;
    source[2 * static_cast<std::size_t>(at) + 1] = 32767;
    return source;
}

// At a quarter of the rate the cosine is 0 and the sine 1; with q = 0.5 alpha is 1 and a0 2, so
// that the poles vanish: the low-pass is (1 2 1) / 4, the high-pass (1 -2 1) / 4.
TEST(LowPass, AtAQuarterOfTheRateIsAPlainAverage) {
    const auto object =
        Filtered("low-pass", {{"frequencyHz", 12000}, {"q", 0.5}}, Stereo({10000, 0, 0, 0, 0}));

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)), ElementsAre(2500, 5000, 2500, 0, 0));
}

TEST(HighPass, AtAQuarterOfTheRateIsAPlainDifference) {
    const auto object =
        Filtered("high-pass", {{"frequencyHz", 12000}, {"q", 0.5}}, Stereo({10000, 0, 0, 0, 0}));

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)), ElementsAre(2500, -5000, 2500, 0, 0));
}

// At a sixth of the rate the cosine is 1/2 and the sine 0.8660254; with q the same, alpha is 1/2
// and a0 3/2: the low-pass is (1/6 1/3 1/6), the high-pass (1/2 -1 1/2), both with a1 -2/3 and
// a2 1/3.
TEST(LowPass, FeedsItsOutputBack) {
    const auto object = Filtered("low-pass", {{"frequencyHz", 8000}, {"q", 0.8660254037844386}},
                                 Stereo({18000, 0, 0, 0, 0}));

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)), ElementsAre(3000, 8000, 7333, 2222, -963));
}

TEST(HighPass, FeedsItsOutputBack) {
    // 9000, -18000 + 6000, 9000 - 8000 - 3000, -1333.3 + 4000, 1777.8 + 666.7
    const auto object = Filtered("high-pass", {{"frequencyHz", 8000}, {"q", 0.8660254037844386}},
                                 Stereo({18000, 0, 0, 0, 0}));

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)),
                ElementsAre(9000, -12000, -2000, 2667, 2444));
}

TEST(LowPass, PassesLowSoundAndStopsHighSound) {
    const BiquadCoefficients section = LowPassCoefficients(48000, 1000.0, 0.7071);

    EXPECT_NEAR(GainAt(section, 48000, 0.0), 1.0, 1e-9);
    EXPECT_NEAR(GainAt(section, 48000, 1000.0), 0.7071, 1e-9);  // q at the corner
    EXPECT_LT(GainAt(section, 48000, 10000.0), 0.01);           // 12 dB an octave
    EXPECT_NEAR(GainAt(section, 48000, 24000.0), 0.0, 1e-9);
}

TEST(HighPass, PassesHighSoundAndStopsLowSound) {
    const BiquadCoefficients section = HighPassCoefficients(48000, 1000.0, 0.7071);

    EXPECT_NEAR(GainAt(section, 48000, 0.0), 0.0, 1e-9);
    EXPECT_NEAR(GainAt(section, 48000, 1000.0), 0.7071, 1e-9);
    EXPECT_NEAR(GainAt(section, 48000, 100.0), 0.01, 1e-4);
    EXPECT_NEAR(GainAt(section, 48000, 24000.0), 1.0, 1e-9);
}

TEST(BiquadFilters, HaveTheGainOfTheirQAtTheCornerAtEveryRate) {
    for (const int rate : {8000, 44100, 48000, 192000}) {
        for (const double frequency : {10.0, 440.0, 3600.0}) {
            for (const double q : {0.1, 0.7071, 10.0}) {
                EXPECT_NEAR(GainAt(LowPassCoefficients(rate, frequency, q), rate, frequency), q,
                            1e-5);
                EXPECT_NEAR(GainAt(HighPassCoefficients(rate, frequency, q), rate, frequency), q,
                            1e-5);
            }
        }
    }
}

TEST(BiquadFilters, FilterEachChannelSeparately) {
    const auto object = Filtered("low-pass", {{"frequencyHz", 12000}, {"q", 0.5}},
                                 {10000, 0, 0, -20000, 0, 0, 0, 0, 0, 0});

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)), ElementsAre(2500, 5000, 2500, 0, 0));
    EXPECT_THAT(sonrel_tests::Right(object.Render(0, 5)), ElementsAre(0, -5000, -10000, -5000, 0));
}

TEST(BiquadFilters, ClipRingingBeyondFullScale) {
    // A full-scale square wave at the corner of a sharp filter becomes about ten times as large.
    Samples square;
    for (int i = 0; i < 4000; ++i) square.insert(square.end(), 2, i / 24 % 2 ? -32768 : 32767);
    const auto object = Filtered("low-pass", {{"frequencyHz", 1000}, {"q", 10}}, square);

    const Samples ringing = object.Render(0, 4000);

    EXPECT_EQ(*std::max_element(ringing.begin(), ringing.end()), 32767);
    EXPECT_EQ(*std::min_element(ringing.begin(), ringing.end()), -32768);
}

TEST(BiquadFilters, ABlockIsTheSectionRunFromRestOver4096FramesBeforeIt) {
    constexpr int FIRST = 10000;
    constexpr int COUNT = 1920;
    const Samples source = sonrel_tests::Noise(FIRST + COUNT, 3);
    const auto object = Filtered("low-pass", {{"frequencyHz", 300}, {"q", 2}}, source);

    // The same filter, written out for the left channel.
    const double w0 = 2.0 * std::numbers::pi * 300.0 / 48000.0;
    const double alpha = std::sin(w0) / (2.0 * 2.0);
    const double a0 = 1.0 + alpha;
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
    Samples expected;
    for (int n = FIRST - 4096; n < FIRST + COUNT; ++n) {
        const double x = source[2 * static_cast<std::size_t>(n)];
        const double y =
            ((1.0 - std::cos(w0)) / 2.0 * x + (1.0 - std::cos(w0)) * x1 +
             (1.0 - std::cos(w0)) / 2.0 * x2 + 2.0 * std::cos(w0) * y1 - (1.0 - alpha) * y2) /
            a0;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        if (n >= FIRST) expected.push_back(static_cast<short>(zrtl::RoundHalfAway(y)));
    }

    EXPECT_EQ(sonrel_tests::Left(object.Render(FIRST, COUNT)), expected);
}

TEST(BiquadFilters, UseAnImpulse4096FramesBeforeTheBlockAndNotOneFrameEarlier) {
    // At 100 Hz with q = 10 an impulse still rings with some twenty steps after 4096 frames.
    const auto object =
        Filtered("low-pass", {{"frequencyHz", 100}, {"q", 10}}, Impulse(9000, 1000));

    const Samples heard = object.Render(1000 + 4096, 500);
    const Samples notHeard = object.Render(1000 + 4097, 500);

    EXPECT_GT(*std::max_element(heard.begin(), heard.end()), 10);
    EXPECT_THAT(notHeard, Each(0));
}

TEST(BiquadFilters, Need4096FramesBeforeTheirOutput) {
    for (const char* name : {"low-pass", "high-pass"}) {
        const auto filter = PluginPack::CreateEffect(name);

        const auto range = sonrel_tests::RequiredRange(*filter, 48000, 5000, 100, 0);

        EXPECT_EQ(range.first, 904) << name;
        EXPECT_EQ(range.endExclusive, 5100) << name;
    }
}

TEST(BiquadFilters, TheirLookBackEndsAtTheSourcesFirstSample) {
    const auto filter = PluginPack::CreateEffect("high-pass");

    EXPECT_EQ(sonrel_tests::RequiredRange(*filter, 48000, 4097, 10, 0).first, 1);
    EXPECT_EQ(sonrel_tests::RequiredRange(*filter, 48000, 4096, 10, 0).first, 0);
    EXPECT_EQ(sonrel_tests::RequiredRange(*filter, 48000, 4095, 10, 0).first, 0);
    EXPECT_EQ(sonrel_tests::RequiredRange(*filter, 48000, 0, 10, 0).first, 0);
    EXPECT_EQ(sonrel_tests::RequiredRange(*filter, 48000, 100, 10, -50).first, -50);
}

TEST(BiquadFilters, TwoInARowNeedTheLookBackOfBoth) {
    const auto first = PluginPack::CreateEffect("low-pass");
    const auto second = PluginPack::CreateEffect("high-pass");

    const auto middle = sonrel_tests::RequiredRange(*second, 48000, 10000, 100, 0);
    const auto input = sonrel_tests::RequiredRange(
        *first, 48000, middle.first, static_cast<int>(middle.endExclusive - middle.first), 0);

    EXPECT_EQ(input.first, 10000 - 8192);
    EXPECT_EQ(input.endExclusive, 10100);
}

TEST(BiquadFilters, RingAfterTheEndOfTheSource) {
    const auto object =
        Filtered("low-pass", {{"frequencyHz", 8000}, {"q", 0.8660254037844386}}, Stereo({18000}));

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 5)), ElementsAre(3000, 8000, 7333, 2222, -963));
}

TEST(BiquadFilters, LimitTheCornerTo0Point45OfALowRate) {
    const Samples source = sonrel_tests::Noise(500, 5);
    RenderedObject tooHigh = Filtered("low-pass", {{"frequencyHz", 20000}}, source);
    RenderedObject highest = Filtered("low-pass", {{"frequencyHz", 9922.5}}, source);
    tooHigh.rate = highest.rate = 22050;

    EXPECT_EQ(tooHigh.Render(0, 500), highest.Render(0, 500));
}

}  // namespace
}  // namespace orlo::sonrel
