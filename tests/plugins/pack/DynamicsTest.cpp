// SPDX-License-Identifier: MIT
// The input that the effects with a gain computer need.
#include <gtest/gtest.h>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::CreateEffect;
using sonrel_tests::RequiredRange;

// The cell of 48 frames that contains frame 20000 begins at 19968, and frame 20100 ends in the cell
// that ends at 20112.
TEST(Dynamics, NeedTheCellsOfTheirWindowsAroundTheOutput) {
    const auto compressor = RequiredRange(*CreateEffect("compressor"), 48000, 20000, 100, 0);
    const auto gate = RequiredRange(*CreateEffect("gate"), 48000, 20000, 100, 0);
    const auto limiter = RequiredRange(*CreateEffect("limiter"), 48000, 20000, 100, 0);

    EXPECT_EQ(compressor.first, 19968 - (10 + 200 - 1) * 48);
    EXPECT_EQ(compressor.endExclusive, 20112);
    EXPECT_EQ(gate.first, 19968 - (5 + 100 + 150 - 1) * 48);
    EXPECT_EQ(gate.endExclusive, 20112 + 5 * 48);
    EXPECT_EQ(limiter.first, 19968 - (5 + 100 - 1) * 48 - 6);
    EXPECT_EQ(limiter.endExclusive, 20112 + 5 * 48 + 6);
}

TEST(Dynamics, NeedAtMostOneSecondBeforeTheirOutput) {
    const auto compressor = CreateEffect("compressor", {{"attackMs", 100}, {"releaseMs", 850}});
    const auto gate = CreateEffect("gate", {{"attackMs", 50}, {"holdMs", 400}, {"releaseMs", 500}});
    const auto limiter = CreateEffect("limiter", {{"attackMs", 50}, {"releaseMs", 900}});
    for (const auto& effect : {compressor, gate, limiter}) {
        for (const int rate : {8000, 11025, 44100, 48000, 96000, 192000}) {
            for (int first = 2 * rate; first < 2 * rate + 200; ++first) {
                EXPECT_GE(RequiredRange(*effect, rate, first, 1, 0).first, first - rate);
            }
        }
    }
}

TEST(Dynamics, TheirLookBackEndsAtTheSourcesFirstSample) {
    for (const char* name : {"compressor", "gate", "limiter"}) {
        EXPECT_EQ(RequiredRange(*CreateEffect(name), 48000, 700, 100, 0).first, 0) << name;
        EXPECT_EQ(RequiredRange(*CreateEffect(name), 48000, 0, 100, -50).first, -50) << name;
    }
}

}  // namespace
}  // namespace orlo::sonrel
