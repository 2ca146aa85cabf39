// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::CreateEffect;
using sonrel_tests::Effects;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;

constexpr long long IN_POINT = 700;

/// Two tenths of a second of noise, of which the object shows all but the first 700 frames.
RenderedObject NoiseThrough(const Effects& effects) {
    RenderedObject object;
    object.source = sonrel_tests::Noise(9600, 11);
    object.objectOffset = -IN_POINT;
    object.effects = effects;
    return object;
}

void ExpectSameInAnySplit(const RenderedObject& object, long long first, int count) {
    const Samples whole = object.Render(first, count);
    ASSERT_EQ(whole.size(), 2u * static_cast<unsigned>(count));
    for (const int block : {1601, 999, 480, 64, 7}) {
        EXPECT_EQ(object.RenderInBlocks(first, count, block), whole) << block;
    }
}

Effects FadeGainAndTwoDelays() {
    return {CreateEffect("delay", {{"delayMs", 7.3}, {"taps", 3}, {"levelDb", -3}}),
            CreateEffect("gain", {{"gainDb", 4.5}}),
            CreateEffect("delay", {{"delayMs", 31}, {"taps", 2}, {"levelDb", -1}}),
            CreateEffect("fade", {{"inFrames", 1}, {"outFrames", 2}, {"objectFrames", 4}})};
}

TEST(BlockSplit, GainFadeAndDelaysGiveTheSameBytesInAnySplit) {
    ExpectSameInAnySplit(NoiseThrough(FadeGainAndTwoDelays()), -IN_POINT, 9600);
}

TEST(BlockSplit, OneEffectGivesTheSameBytesInAnySplit) {
    for (const auto& effect : FadeGainAndTwoDelays()) {
        ExpectSameInAnySplit(NoiseThrough({effect}), -IN_POINT, 9600);
    }
}

TEST(BlockSplit, TheBytesAreTheSameAfterTheEndOfTheSource) {
    ExpectSameInAnySplit(NoiseThrough(FadeGainAndTwoDelays()), 9600 - IN_POINT - 500, 1200);
}

Effects OneOfEachOnARaster() {
    return {CreateEffect("equalizer", {{"lowDb", 6}, {"midHz", 40}, {"midDb", -9}, {"highDb", 3}}),
            CreateEffect("compressor", {{"attackMs", 3}, {"releaseMs", 40}, {"thresholdDb", -40}}),
            CreateEffect("gate", {{"thresholdDb", -1}, {"holdMs", 2}, {"releaseMs", 30}}),
            CreateEffect("limiter", {{"ceilingDb", -9}, {"releaseMs", 25}})};
}

TEST(BlockSplit, AnEffectOnARasterGivesTheSameBytesInAnySplit) {
    for (const auto& effect : OneOfEachOnARaster()) {
        RenderedObject object = NoiseThrough({effect});
        ExpectSameInAnySplit(object, -IN_POINT, 9600);
        ExpectSameInAnySplit(object, 9600 - IN_POINT - 500, 1200);
        object.rate = 44100;
        ExpectSameInAnySplit(object, -IN_POINT, 9600);
    }
}

TEST(BlockSplit, AChainOnRastersGivesTheSameBytesInAnySplit) {
    ExpectSameInAnySplit(NoiseThrough(OneOfEachOnARaster()), -IN_POINT, 9600);
}

TEST(BlockSplit, TheEqualizerGivesTheSameBytesInAnySplitEvenIfItRingsForLonger) {
    // At 4000 Hz a cell is 160 frames, and its run-in is limited to 3840.
    RenderedObject object = NoiseThrough(
        {CreateEffect("equalizer", {{"midHz", 10}, {"midDb", 24}, {"midQ", 10}, {"lowDb", -20}})});
    object.rate = 4000;
    for (short& value : object.source) value = static_cast<short>(value / 16);

    ExpectSameInAnySplit(object, -IN_POINT, 9600);
}

TEST(BlockSplit, AFilterGivesTheSameBytesInAnySplitOfTheSourcesFirst4096Frames) {
    // The filter processes every such block from the first sample of the source.
    const auto object = NoiseThrough({CreateEffect("low-pass", {{"frequencyHz", 60}, {"q", 5}})});

    ExpectSameInAnySplit(object, -IN_POINT, 4096);
}

TEST(BlockSplit, ABlockOfAFilterDoesNotDependOnEarlierBlocks) {
    const auto object = NoiseThrough({CreateEffect("low-pass", {{"frequencyHz", 60}, {"q", 5}}),
                                      CreateEffect("high-pass", {{"frequencyHz", 40}})});
    const Samples alone = object.Render(6000, 480);

    object.Render(5520, 480);
    EXPECT_EQ(object.Render(6000, 480), alone);
    object.Render(6480, 480);
    EXPECT_EQ(object.Render(6000, 480), alone);
    object.Render(-IN_POINT, 3000);
    EXPECT_EQ(object.Render(6000, 480), alone);
}

TEST(BlockSplit, BlocksOfAFilterJoinWithinOneStepIfTheRingingFitsTheLookBack) {
    // At 1000 Hz the ringing ends long before 4096 frames.
    const auto object = NoiseThrough({CreateEffect("low-pass"), CreateEffect("high-pass")});

    const Samples whole = object.Render(-IN_POINT, 9600);
    const Samples blocks = object.RenderInBlocks(-IN_POINT, 9600, 480);

    ASSERT_EQ(blocks.size(), whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        ASSERT_LE(std::abs(blocks[i] - whole[i]), 1) << "value " << i;
    }
}

TEST(BlockSplit, BlocksInAnyOrderMakeTheSameWhole) {
    const auto object = NoiseThrough(FadeGainAndTwoDelays());
    const Samples whole = object.Render(0, 8000);
    std::vector<int> starts;
    for (int start = 0; start < 8000; start += 400) starts.push_back(start);
    std::shuffle(starts.begin(), starts.end(), std::mt19937(3));

    Samples mosaic(whole.size());
    for (const int start : starts) {
        const Samples block = object.Render(start, 400);
        std::copy(block.begin(), block.end(), mosaic.begin() + 2 * start);
    }

    EXPECT_EQ(mosaic, whole);
}

TEST(BlockSplit, AChainStartsAtTheSourcesFirstSampleWithoutFallingSilent) {
    const auto object = NoiseThrough({CreateEffect("low-pass"), CreateEffect("delay")});

    EXPECT_EQ(object.Render(-IN_POINT, 100).size(), 200u);
}

}  // namespace
}  // namespace orlo::sonrel
