// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"

namespace orlo::sonrel {
namespace {

using PluginPack::Parameters;
using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using sonrel_tests::Stereo;
using ::testing::ElementsAre;

/// An object at 1000 Hz, where a millisecond is a sample.
RenderedObject Delayed(const Samples& source, const Parameters& parameters) {
    RenderedObject object;
    object.rate = 1000;
    object.source = source;
    object.effects = {PluginPack::CreateEffect("delay", parameters)};
    return object;
}

TEST(Delay, RepeatsTheSoundAtFallingLevel) {
    const RenderedObject object = Delayed({10000, -10000, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
                                          {{"delayMs", 2}, {"levelDb", -20}, {"taps", 3}});

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 8)),
                ElementsAre(10000, 0, 1000, 0, 100, 0, 10, 0));
    EXPECT_THAT(sonrel_tests::Right(object.Render(0, 8)),
                ElementsAre(-10000, 0, -1000, 0, -100, 0, -10, 0));
}

TEST(Delay, RepeatsOnceByDefault) {
    const RenderedObject object =
        Delayed(Stereo({10000, 0, 0, 0}), {{"delayMs", 1}, {"levelDb", -20}});

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 4)), ElementsAre(10000, 1000, 0, 0));
}

TEST(Delay, IsAQuarterOfASecondAtSixDecibelsLessByDefault) {
    Samples source(2 * 300, 0);
    source[0] = source[1] = 10000;
    const Samples delayed = sonrel_tests::Left(Delayed(source, {}).Render(0, 300));

    EXPECT_EQ(delayed[0], 10000);
    EXPECT_EQ(delayed[249], 0);
    EXPECT_EQ(delayed[250], 5012);
    EXPECT_EQ(delayed[251], 0);
}

TEST(Delay, AddsUpBeforeItRoundsAndClips) {
    // Each output is x + 0.5012 x: 1.5012, 2.2554... with three; 49156 clips.
    const RenderedObject object =
        Delayed({1, -1, 1, -1, 32767, -32768, 32767, -32768}, {{"delayMs", 1}, {"levelDb", -6}});

    EXPECT_THAT(object.Render(0, 4), ElementsAre(1, -1, 2, -2, 32767, -32768, 32767, -32768));
}

TEST(Delay, TheTimeIsRoundedToWholeSamples) {
    const RenderedObject object =
        Delayed(Stereo({10000, 0, 0, 0}), {{"delayMs", 1.5}, {"levelDb", 0}});

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 4)), ElementsAre(10000, 0, 10000, 0));
}

TEST(Delay, UsesTheFramesBeforeItsBlock) {
    const RenderedObject object = Delayed(Stereo({1000, 2000, 3000, 4000, 0, 0, 0}),
                                          {{"delayMs", 2}, {"levelDb", -20}, {"taps", 2}});

    EXPECT_THAT(sonrel_tests::Left(object.Render(4, 3)), ElementsAre(310, 420, 30));
}

TEST(Delay, RepeatsSoundAfterTheEndOfTheSource) {
    const RenderedObject object =
        Delayed(Stereo({1000, 2000}), {{"delayMs", 2}, {"levelDb", -20}, {"taps", 2}});

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 7)),
                ElementsAre(1000, 2000, 100, 200, 10, 20, 0));
    EXPECT_THAT(sonrel_tests::Left(object.Render(1, 4)), ElementsAre(2000, 100, 200, 10));
}

TEST(Delay, LooksBackAsFarAsItsLastRepeat) {
    const auto delay = PluginPack::CreateEffect("delay", {{"delayMs", 100}, {"taps", 3}});

    const auto range = sonrel_tests::RequiredRange(*delay, 48000, 20000, 1920, 0);

    EXPECT_EQ(range.first, 20000 - 3 * 4800);
    EXPECT_EQ(range.endExclusive, 21920);
}

TEST(Delay, ItsLookBackEndsAtTheSourcesFirstSample) {
    const auto delay = PluginPack::CreateEffect("delay", {{"delayMs", 100}});

    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, 4801, 10, 0).first, 1);
    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, 4800, 10, 0).first, 0);
    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, 4799, 10, 0).first, 0);
    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, 0, 10, 0).first, 0);
    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, 0, 10, -1000).first, -1000);
    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, -1000, 10, -1000).first, -1000);
}

TEST(Delay, ItsLookBackIsTheLengthOfTheRepeatsAtAnyPosition) {
    const auto delay = PluginPack::CreateEffect("delay", {{"delayMs", 100}});

    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, LLONG_MAX - 10, 10, LLONG_MIN).first,
              LLONG_MAX - 4810);
}

TEST(Delay, ARangeThatBeginsBeforeTheSourceIsUnchanged) {
    const auto delay = PluginPack::CreateEffect("delay", {{"delayMs", 100}});

    EXPECT_EQ(sonrel_tests::RequiredRange(*delay, 48000, -1001, 10, -1000).first, -1001);
}

TEST(Delay, TheInPointCountsFromTheSourceAndNotFromTheObject) {
    RenderedObject object = Delayed(Stereo({5000, 0, 0, 0, 0}), {{"delayMs", 3}, {"levelDb", -20}});
    object.objectOffset = -2;  // the object begins at the source's third sample

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 3)), ElementsAre(0, 500, 0));
}

TEST(Delay, TwoDelaysInARowRepeatTheRepeats) {
    RenderedObject object =
        Delayed(Stereo({10000, 0, 0, 0, 0, 0}), {{"delayMs", 1}, {"levelDb", -20}});
    object.effects.push_back(PluginPack::CreateEffect("delay", {{"delayMs", 3}, {"levelDb", -20}}));

    EXPECT_THAT(sonrel_tests::Left(object.Render(0, 6)), ElementsAre(10000, 1000, 0, 1000, 100, 0));
    EXPECT_THAT(sonrel_tests::Left(object.Render(4, 2)), ElementsAre(100, 0));
}

}  // namespace
}  // namespace orlo::sonrel
