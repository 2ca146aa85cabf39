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

void ExpectGateAsReference(int rate, int cell, const ReferenceDynamics::Windows& windows,
                           const Parameters& parameters) {
    const Samples source = sonrel_tests::Bursts(6000, 51);
    const auto isOpen = [&](int first, int end) {
        return reference::SampleLevel(source, first, end) >= parameters.at("thresholdDb") ? 1.0
                                                                                          : 0.0;
    };

    sonrel_tests::ExpectGains(Through("gate", parameters, source, rate),
                              ReferenceDynamics(cell, windows, isOpen), [&](double open) {
                                  return std::pow(10.0,
                                                  parameters.at("rangeDb") * (1.0 - open) / 20.0);
                              });
}

TEST(Gate, HasTheGainOfItsThresholdAndWindows) {
    ExpectGateAsReference(48000, 48, {5, 8, 20, true},
                          {{"thresholdDb", -25},
                           {"rangeDb", -60},
                           {"attackMs", 5},
                           {"holdMs", 8},
                           {"releaseMs", 20}});
    ExpectGateAsReference(
        44100, 44, {2, 0, 1, true},
        {{"thresholdDb", -50}, {"rangeDb", -96}, {"attackMs", 2}, {"holdMs", 0}, {"releaseMs", 1}});
    ExpectGateAsReference(8000, 8, {1, 30, 60, true},
                          {{"thresholdDb", -6},
                           {"rangeDb", -12},
                           {"attackMs", 1},
                           {"holdMs", 30},
                           {"releaseMs", 60}});
}

// At 1000 Hz a cell is a frame. The loud frame opens the gate for itself and the frame after it,
// and half of it for the next; it counts for the two frames before it as well. The means of two are
// 0.5 before it, 1 for it and the next two, then 0.75 and 0.25, of 20 dB.
TEST(Gate, OpensBeforeTheSoundHoldsAndCloses) {
    Samples source(2 * 20, 1000);
    source[20] = source[21] = 10000;
    const auto object = Through(
        "gate",
        {{"thresholdDb", -20}, {"rangeDb", -20}, {"attackMs", 2}, {"holdMs", 1}, {"releaseMs", 2}},
        source, 1000);

    EXPECT_THAT(sonrel_tests::Left(object.Render(8, 9)),
                ElementsAre(100, 316, 10000, 1000, 1000, 562, 178, 100, 100));
}

TEST(Gate, IsOpenFromItsThresholdOn) {
    // -20 dB is 3276.8.
    EXPECT_EQ(Through("gate", {{"thresholdDb", -20}}, Samples(200, 3276), 48000).Render(50, 1),
              Samples({3, 3}));
    EXPECT_EQ(Through("gate", {{"thresholdDb", -20}}, Samples(200, 3277), 48000).Render(50, 1),
              Samples({3277, 3277}));
}

TEST(Gate, LeavesLoudSoundUnchanged) {
    const Samples source = sonrel_tests::Noise(3000, 52);

    EXPECT_EQ(Through("gate", {}, source, 48000).Render(0, 3000), source);
}

}  // namespace
}  // namespace orlo::sonrel
