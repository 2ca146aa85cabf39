// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "sonrel/plugins/pack/PluginPack.h"
#include "sonrel/plugins/pack/detail/EqualizerBands.h"
#include "tests/plugins/pack/EffectRender.h"
#include "tests/reference/ReferenceEqualizer.h"

namespace orlo::sonrel {
namespace {

using detail::BandCoefficients;
using detail::BiquadCoefficients;
using PluginPack::Parameters;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using Kind = detail::EqualizerBand::Kind;
using Reference = reference::EqualizerBand;

RenderedObject Equalized(const Samples& source, const Parameters& parameters, int rate = 48000) {
    RenderedObject object;
    object.source = source;
    object.rate = rate;
    object.effects = {PluginPack::CreateEffect("equalizer", parameters)};
    return object;
}

/// Decibels of a section at a frequency: |H(e^jw)|.
double DecibelsAt(const BiquadCoefficients& c, double frequency) {
    const std::complex<double> z = std::polar(1.0, -2.0 * std::numbers::pi * frequency / 48000.0);
    const auto gain = (c.b0 + c.b1 * z + c.b2 * z * z) / (1.0 + c.a1 * z + c.a2 * z * z);
    return 20.0 * std::log10(std::abs(gain));
}

/// Noise with room for 24 dB more.
Samples QuietNoise(int frames, unsigned int seed) {
    Samples noise = sonrel_tests::Noise(frames, seed);
    for (short& value : noise) value = static_cast<short>(value / 64);
    return noise;
}

void ExpectNear(const Samples& rendered, const std::vector<double>& expected) {
    ASSERT_EQ(rendered.size(), expected.size());
    for (std::size_t i = 0; i < rendered.size(); ++i) {
        ASSERT_LE(std::abs(rendered[i] - expected[i]), 0.51) << "frame " << i;
    }
}

// The expected sound has all of its memory: the test also shows that the run-in of a cell is long
// enough.
TEST(Equalizer, FiltersAsTheAnalogPrototypesOfItsThreeBands) {
    for (const int rate : {48000, 44100, 8000}) {
        const Samples source = QuietNoise(9000, 31);
        const double r = rate;
        const auto object = Equalized(source,
                                      {{"lowHz", 120},
                                       {"lowDb", 9},
                                       {"lowQ", 0.9},
                                       {"midHz", 700},
                                       {"midDb", -14},
                                       {"midQ", 3},
                                       {"highHz", 2500},
                                       {"highDb", 5},
                                       {"highQ", 0.4}},
                                      rate);

        ExpectNear(sonrel_tests::Left(object.RenderInBlocks(0, 9000, 1000)),
                   reference::Equalized(
                       sonrel_tests::Left(source),
                       {Reference::LowShelf(r, 120, 9, 0.9), Reference::Peak(r, 700, -14, 3),
                        Reference::HighShelf(r, 2500, 5, 0.4)}));
    }
}

TEST(Equalizer, EachBandWorksWithoutTheOthersAndOnBothChannels) {
    const Samples source = QuietNoise(5000, 32);
    const Samples right = sonrel_tests::Right(source);

    ExpectNear(sonrel_tests::Right(Equalized(source, {{"lowDb", -8}}).Render(0, 5000)),
               reference::Equalized(right, {Reference::LowShelf(48000, 100, -8, 0.7071)}));
    ExpectNear(sonrel_tests::Right(Equalized(source, {{"midDb", 12}}).Render(0, 5000)),
               reference::Equalized(right, {Reference::Peak(48000, 1000, 12, 1)}));
    ExpectNear(sonrel_tests::Right(Equalized(source, {{"highDb", -24}}).Render(0, 5000)),
               reference::Equalized(right, {Reference::HighShelf(48000, 8000, -24, 0.7071)}));
}

TEST(Equalizer, ABellHasItsGainAtItsFrequencyAndNoneFarAway) {
    const BiquadCoefficients bell = BandCoefficients({Kind::Peak, 1000.0, 12.0, 2.0}, 48000);

    EXPECT_NEAR(DecibelsAt(bell, 1000.0), 12.0, 1e-9);
    EXPECT_NEAR(DecibelsAt(bell, 1.0), 0.0, 1e-4);
    EXPECT_NEAR(DecibelsAt(bell, 23999.0), 0.0, 1e-4);
}

TEST(Equalizer, AShelfHasHalfItsDecibelsInTheMiddleOfItsSlope) {
    const BiquadCoefficients low = BandCoefficients({Kind::LowShelf, 500.0, 6.0, 0.7071}, 48000);
    const BiquadCoefficients high = BandCoefficients({Kind::HighShelf, 500.0, -6.0, 0.7071}, 48000);

    EXPECT_NEAR(DecibelsAt(low, 1.0), 6.0, 1e-6);
    EXPECT_NEAR(DecibelsAt(low, 500.0), 3.0, 1e-9);
    EXPECT_NEAR(DecibelsAt(low, 23999.0), 0.0, 1e-6);
    EXPECT_NEAR(DecibelsAt(high, 1.0), 0.0, 1e-6);
    EXPECT_NEAR(DecibelsAt(high, 500.0), -3.0, 1e-9);
    EXPECT_NEAR(DecibelsAt(high, 23999.0), -6.0, 1e-6);
}

TEST(Equalizer, WithoutAGainItChangesNothingAndNeedsNoEarlierSamples) {
    const auto object = Equalized(sonrel_tests::Noise(3000, 33), {{"midHz", 50}});

    EXPECT_EQ(object.Render(0, 3000), object.source);
    EXPECT_EQ(sonrel_tests::RequiredRange(*object.effects[0], 48000, 5000, 100, 0).first, 5000);
}

// A = 10^(6 / 40) = 1.41254, alpha = sin(2 pi / 48) / 2 = 0.0652631, and the radius of the poles is
// sqrt((1 - alpha / A) / (1 + alpha / A)) = 0.954817: ln(10^-7) / ln(0.954817) = 348.6 frames
// before the start of the cell, which is at 3840 = 2 * 48000 / 25.
TEST(Equalizer, StartsFromRestBeforeItsCellUntilTheRingingHasEnded) {
    const auto equalizer = PluginPack::CreateEffect("equalizer", {{"midDb", 6}});

    EXPECT_EQ(sonrel_tests::RequiredRange(*equalizer, 48000, 5000, 100, 0).first, 3840 - 349);
    EXPECT_EQ(sonrel_tests::RequiredRange(*equalizer, 48000, 3840, 100, 0).first, 3840 - 349);
    EXPECT_EQ(sonrel_tests::RequiredRange(*equalizer, 48000, 3839, 100, 0).first, 1920 - 349);
    EXPECT_EQ(sonrel_tests::RequiredRange(*equalizer, 48000, -1, 100, -9999).first, -1920 - 349);
    EXPECT_EQ(sonrel_tests::RequiredRange(*equalizer, 48000, 5000, 100, 3600).first, 3600);
    EXPECT_EQ(sonrel_tests::RequiredRange(*equalizer, 48000, 5000, 100, 0).endExclusive, 5100);
}

TEST(Equalizer, NeedsAtMostOneSecondBeforeItsOutput) {
    const auto rings =
        PluginPack::CreateEffect("equalizer", {{"midHz", 10}, {"midDb", 24}, {"midQ", 10}});

    // The last frame of a cell, which begins 1919 frames earlier, 46080 frames after its start.
    EXPECT_EQ(sonrel_tests::RequiredRange(*rings, 48000, 96000 - 1, 1, 0).first, 96000 - 48000);
    EXPECT_EQ(sonrel_tests::RequiredRange(*rings, 8000, 32000 - 1, 1, 0).first, 32000 - 8000);
}

TEST(Equalizer, ClipsBeyondFullScale) {
    const auto object = Equalized(sonrel_tests::Noise(2000, 34), {{"midDb", 24}, {"midQ", 0.1}});

    const Samples loud = object.Render(0, 2000);

    EXPECT_EQ(*std::max_element(loud.begin(), loud.end()), 32767);
    EXPECT_EQ(*std::min_element(loud.begin(), loud.end()), -32768);
}

TEST(Equalizer, LimitsAFrequencyTo0Point45OfALowRate) {
    const Samples source = QuietNoise(500, 35);

    EXPECT_EQ(Equalized(source, {{"highHz", 20000}, {"highDb", 6}}, 22050).Render(0, 500),
              Equalized(source, {{"highHz", 9922.5}, {"highDb", 6}}, 22050).Render(0, 500));
}

}  // namespace
}  // namespace orlo::sonrel
