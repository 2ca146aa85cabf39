// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/plugins/pack/DynamicsRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::Parameters;
using reference::ReferenceDynamics;
using sonrel_tests::Samples;
using sonrel_tests::Through;
using ::testing::ElementsAre;

/// The static curve as the level of the output over the level of the input.
double CurveOf(double x, double threshold, double ratio, double knee) {
    if (2.0 * (x - threshold) < -knee) return x;
    if (2.0 * (x - threshold) > knee) return threshold + (x - threshold) / ratio;
    if (knee == 0.0) return x;
    return x + (1.0 / ratio - 1.0) * std::pow(x - threshold + knee / 2.0, 2.0) / (2.0 * knee);
}

void ExpectAsReference(int rate, int cell, const ReferenceDynamics::Windows& windows,
                       const Parameters& parameters) {
    const Samples source = sonrel_tests::Bursts(6000, 41);
    const double threshold = parameters.at("thresholdDb");
    const auto amount = [&](int first, int end) {
        const double level = reference::SampleLevel(source, first, end);
        if (std::isinf(level)) return 0.0;
        return level - CurveOf(level, threshold, parameters.at("ratio"), parameters.at("kneeDb"));
    };

    sonrel_tests::ExpectGains(Through("compressor", parameters, source, rate),
                              ReferenceDynamics(cell, windows, amount), [&](double reduction) {
                                  return std::pow(10.0,
                                                  (parameters.at("makeupDb") - reduction) / 20.0);
                              });
}

TEST(Compressor, HasTheGainOfItsCurveAndWindows) {
    ExpectAsReference(48000, 48, {10, 0, 50, false},
                      {{"thresholdDb", -30},
                       {"ratio", 3},
                       {"kneeDb", 12},
                       {"attackMs", 10},
                       {"releaseMs", 50},
                       {"makeupDb", 4}});
    // A cell of 44100 Hz is 44 frames: 3 ms are 132.3 frames, 40 ms 1764.
    ExpectAsReference(44100, 44, {3, 0, 40, false},
                      {{"thresholdDb", -12},
                       {"ratio", 100},
                       {"kneeDb", 0},
                       {"attackMs", 3},
                       {"releaseMs", 40},
                       {"makeupDb", -2}});
    ExpectAsReference(8000, 8, {1, 0, 1, false},
                      {{"thresholdDb", -60},
                       {"ratio", 1.5},
                       {"kneeDb", 40},
                       {"attackMs", 1},
                       {"releaseMs", 1},
                       {"makeupDb", 0}});
}

// 16384 is -6.0206 dB, 13.9794 dB above the threshold, of which a ratio of 4 leaves a quarter: the
// reduction is 10.4846 dB.
TEST(Compressor, ReducesASteadySoundByItsCurve) {
    const Samples steady(2 * 20000, 16384);

    const Samples reduced =
        Through("compressor", {{"kneeDb", 0}}, steady, 48000).Render(10000, 100);

    EXPECT_EQ(reduced, Samples(200, 4900));
}

// At 1000 Hz a cell is a frame. The frame of full scale is 20 dB above the threshold: 10 dB. They
// fall by a quarter a frame, and each gain is the mean of two: 5, 8.75, 6.25, 3.75, 1.25 dB.
TEST(Compressor, TheReductionSetsInOverTheAttackAndEndsOverTheRelease) {
    Samples source(2 * 20, 2000);
    source[20] = source[21] = -32768;
    const auto object = Through(
        "compressor",
        {{"thresholdDb", -20}, {"ratio", 2}, {"kneeDb", 0}, {"attackMs", 2}, {"releaseMs", 4}},
        source, 1000);

    EXPECT_THAT(sonrel_tests::Left(object.Render(9, 9)),
                ElementsAre(2000, -32768, 1125, 730, 974, 1299, 1732, 2000, 2000));
}

TEST(Compressor, LeavesSoundBelowItsKneeUnchanged) {
    // -23 dB is 2319.8.
    Samples source = sonrel_tests::Noise(3000, 42);
    for (short& value : source) value = static_cast<short>(value % 2320);

    EXPECT_EQ(Through("compressor", {}, source, 48000).Render(0, 3000), source);
}

TEST(Compressor, BothChannelsHaveTheGainOfTheLouder) {
    const Samples steady = sonrel_tests::MakeSamples(
        20000, [](int, int channel) { return channel == 0 ? 1000 : -16384; });

    const Samples reduced = Through("compressor", {{"kneeDb", 0}}, steady, 48000).Render(10000, 1);

    EXPECT_EQ(reduced, Samples({299, -4900}));
}

}  // namespace
}  // namespace orlo::sonrel
