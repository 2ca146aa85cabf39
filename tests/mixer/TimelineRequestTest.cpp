// SPDX-License-Identifier: MIT
// The common part of sequence and composition requests: checks, codes, blocks, the noise stream.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "tests/mixer/TimelineRig.h"

namespace sonrel_tests {
namespace {

using ::testing::ElementsAre;
using Frame = std::pair<short, short>;

template <class Timeline>
class TimelineRequest : public ::testing::Test {};

using Timelines = ::testing::Types<project::EditorSequence, project::CompositionAsset>;

struct TimelineNames {
    template <class Timeline>
    static std::string GetName(int) {
        return std::is_same_v<Timeline, project::EditorSequence> ? "Sequence" : "Composition";
    }
};

TYPED_TEST_SUITE(TimelineRequest, Timelines, TimelineNames);

// 2 frames of 1920 samples: 3840 in all.
const Format TWO_FRAMES{25.0, 48000, 2};
constexpr int TWO_FRAMES_TOTAL = 3840;

TYPED_TEST(TimelineRequest, ThatEndsAtTheTotalDeliversTheLastSamples) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    const Mix mix = rig.Request(TWO_FRAMES_TOTAL - 10, 10);

    ASSERT_EQ(mix.result, 10);
    EXPECT_EQ(mix[0], Frame(3830, -26170));
    EXPECT_EQ(mix[9], Frame(3839, -26161));
    EXPECT_TRUE(mix.buffer.GuardsIntact());
}

TYPED_TEST(TimelineRequest, ThatStartsAtTheTotalIsRefused) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    const Mix mix = rig.Request(TWO_FRAMES_TOTAL, 1);

    EXPECT_EQ(mix.result, -1);
    EXPECT_TRUE(mix.buffer.Untouched());
}

TYPED_TEST(TimelineRequest, ThatEndsOneSampleAfterTheTotalIsRefused) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    const Mix mix = rig.Request(TWO_FRAMES_TOTAL - 10, 11);

    EXPECT_EQ(mix.result, -1);
    EXPECT_TRUE(mix.buffer.Untouched());
}

TYPED_TEST(TimelineRequest, OfTheWholeTimelineIsAccepted) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(0, TWO_FRAMES_TOTAL).result, TWO_FRAMES_TOTAL);
}

// At 50 frames a second a block of 1920 samples is longer than a video frame.
TYPED_TEST(TimelineRequest, KeepsItsFrameRateWhenAnEffectChangesIt) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));
    rig.spy->onProcess = [&](const ProcessCall&, short*) {
        rig.timeline->Settings().SetFrameRate(50.0);
    };

    const Mix mix = rig.Request(0, TWO_FRAMES_TOTAL);

    EXPECT_EQ(mix.result, TWO_FRAMES_TOTAL);
    EXPECT_THAT(rig.BlockLengths(), ElementsAre(1920, 1920));
    EXPECT_EQ(mix[0], Frame(0, -30000));
    EXPECT_EQ(rig.Request(0, 1920).result, 1920);
    EXPECT_THAT(rig.BlockLengths(), ElementsAre(1920, 1920, 960, 960));
}

TYPED_TEST(TimelineRequest, ThatStartsBeforeTheTimelineIsRefused) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(-1, 10).result, -1);
    EXPECT_EQ(rig.Request(LLONG_MIN, 10).result, -1);
}

TYPED_TEST(TimelineRequest, ThatStartsFarAfterTheTotalIsRefused) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(TWO_FRAMES_TOTAL + 1, 1).result, -1);
    EXPECT_EQ(rig.Request(LLONG_MAX, 10).result, -1);
}

TYPED_TEST(TimelineRequest, OfNoSampleOrFewerIsRefused) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(0, 0).result, -1);
    EXPECT_EQ(rig.Request(0, -1).result, -1);
    EXPECT_EQ(rig.Request(0, INT_MIN).result, -1);
}

TYPED_TEST(TimelineRequest, ToATimelineOfNoFramesIsRefusedAtAnyPlace) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));
    rig.timeline->Settings().SetFrameCount(0);

    EXPECT_EQ(rig.Request(0, 1).result, -1);
    EXPECT_EQ(rig.Request(0, 0).result, -1);
}

TYPED_TEST(TimelineRequest, TotalTakesTheRatioOfTheRatesFirst) {
    // 3 * (48000 / (24000 / 1001)) in doubles is below 6006, the exact product.
    TimelineRig<TypeParam> rig({24000.0 / 1001.0, 48000, 3}, Counting(6006));

    EXPECT_EQ(rig.Request(6000, 5).result, 5);
    EXPECT_EQ(rig.Request(6000, 6).result, -1);
}

TYPED_TEST(TimelineRequest, IgnoresTheSampleRateWithoutTheOverride) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    const Mix mix = rig.Request(TWO_FRAMES_TOTAL - 1, 1, 0, 192000);

    EXPECT_EQ(mix.result, 1);
    EXPECT_EQ(mix[0].first, 3839);
}

TYPED_TEST(TimelineRequest, AcceptsAnOverrideUpTo96000) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(0, 10, 1, 96000).result, 10);
    EXPECT_EQ(rig.Request(0, 10, 1, 96001).result, -4);
    EXPECT_EQ(rig.Request(0, 10, 1, 192000).result, -4);
}

TYPED_TEST(TimelineRequest, RefusesTheOverridingRateBeforeTheRange) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    const Mix mix = rig.Request(-1, 10, 1, 96001);

    EXPECT_EQ(mix.result, -4);
    EXPECT_TRUE(mix.buffer.Untouched());
}

TYPED_TEST(TimelineRequest, TakesOnlyTheLowestBitOfTheOverride) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(0, 10, 2, 192000).result, 10);
    EXPECT_EQ(rig.Request(0, 10, 3, 192000).result, -4);
    EXPECT_EQ(rig.Request(0, 10, -1, 192000).result, -4);
}

TYPED_TEST(TimelineRequest, AcceptsAnyRateOfTheSettings) {
    // 192000 / 25 = 7680 samples a frame.
    TimelineRig<TypeParam> rig({25.0, 192000, 2}, Counting(15360));

    const Mix mix = rig.Request(15360 - 7680, 7680);

    EXPECT_EQ(mix.result, 7680);
    EXPECT_EQ(mix[7679].first, 15359);
}

TYPED_TEST(TimelineRequest, MeasuresEverythingAtTheOverridingRate) {
    // At 24000 Hz the two frames are 1920 samples, and a frame is 960.
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(0, 1921, 1, 24000).result, -1);
    const Mix mix = rig.Request(0, 1920, 1, 24000);

    ASSERT_EQ(mix.result, 1920);
    EXPECT_THAT(rig.BlockLengths(), ElementsAre(960, 960));
    // Media are read sample for sample, whatever rate they were conformed at.
    EXPECT_EQ(mix[1919].first, 1919);
}

TYPED_TEST(TimelineRequest, AtAnOverridingRateOfNothingIsRefused) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    EXPECT_EQ(rig.Request(0, 1, 1, 0).result, -1);
    EXPECT_EQ(rig.Request(0, 1, 1, -48000).result, -1);
    EXPECT_EQ(rig.Request(0, 1, 1, INT_MIN).result, -1);
}

TYPED_TEST(TimelineRequest, OfSixtySecondsIsAcceptedAndOneSampleMoreIsTooLong) {
    // 61 seconds at 8000 Hz.
    TimelineRig<TypeParam> rig({25.0, 8000, 61 * 25}, Counting(10));

    EXPECT_EQ(rig.Request(0, 480000).result, 480000);
    const Mix longer = rig.Request(0, 480001);

    EXPECT_EQ(longer.result, -3);
    EXPECT_TRUE(longer.buffer.Untouched());
}

TYPED_TEST(TimelineRequest, AfterTheTotalIsRefusedAsSuchEvenWhenItIsTooLong) {
    TimelineRig<TypeParam> rig({25.0, 8000, 60 * 25}, Counting(10));

    EXPECT_EQ(rig.Request(0, 480001).result, -1);
}

TYPED_TEST(TimelineRequest, IsTooLongWhenAFrameHoldsNoSample) {
    // 8000 / 10000 = 0.8: 8 samples in 10 frames, and not one in a frame.
    TimelineRig<TypeParam> rig({10000.0, 8000, 10}, Counting(8));

    const Mix mix = rig.Request(0, 8);

    EXPECT_EQ(mix.result, -3);
    EXPECT_TRUE(mix.buffer.Untouched());
    EXPECT_EQ(rig.Request(0, 9).result, -1);
}

TYPED_TEST(TimelineRequest, OfOneSampleFramesIsMixed) {
    TimelineRig<TypeParam> rig({8000.0, 8000, 10}, Counting(10));

    const Mix mix = rig.Request(2, 3);

    EXPECT_EQ(mix.result, 3);
    EXPECT_EQ(mix[2].first, 4);
    EXPECT_THAT(rig.BlockLengths(), ElementsAre(1, 1, 1));
}

TYPED_TEST(TimelineRequest, IsMixedWhenAFrameHolds96000Samples) {
    TimelineRig<TypeParam> rig({0.5, 48000, 2}, Counting(192000));

    const Mix mix = rig.Request(96000, 96000);

    EXPECT_EQ(mix.result, 96000);
    EXPECT_EQ(mix[95999].first, 191999 & 0x7FFF);
    EXPECT_TRUE(mix.buffer.GuardsIntact());
}

TYPED_TEST(TimelineRequest, IsTooLongWhenAFrameHoldsMoreThan96000Samples) {
    // 48000 / 0.4999 = 96019 samples a frame.
    TimelineRig<TypeParam> rig({0.4999, 48000, 2}, Counting(1000));

    const Mix mix = rig.Request(0, 1000);

    EXPECT_EQ(mix.result, -3);
    EXPECT_TRUE(mix.buffer.Untouched());
}

TYPED_TEST(TimelineRequest, RunsInBlocksOfAFrameAndARemainder) {
    // floor(48000 / 29.97) = 1601.
    TimelineRig<TypeParam> rig({29.97, 48000, 10}, Counting(16016));

    ASSERT_EQ(rig.Request(0, 4000).result, 4000);

    EXPECT_THAT(rig.BlockLengths(), ElementsAre(1601, 1601, 798));
}

TYPED_TEST(TimelineRequest, CutsBlocksFromItsStartAndNotAtFrameEdges) {
    TimelineRig<TypeParam> rig({25.0, 48000, 10}, Counting(19200));

    ASSERT_EQ(rig.Request(100, 3841).result, 3841);

    EXPECT_THAT(rig.BlockLengths(), ElementsAre(1920, 1920, 1));
    const auto& calls = rig.spy->processCalls;
    EXPECT_EQ(calls[0].firstSample, 100);
    EXPECT_EQ(calls[1].firstSample, 2020);
    EXPECT_EQ(calls[2].firstSample, 3940);
}

TYPED_TEST(TimelineRequest, OfAFrameOrLessRunsInOneBlock) {
    TimelineRig<TypeParam> rig({25.0, 48000, 10}, Counting(19200));

    ASSERT_EQ(rig.Request(0, 1920).result, 1920);
    ASSERT_EQ(rig.Request(7, 1).result, 1);

    EXPECT_THAT(rig.BlockLengths(), ElementsAre(1920, 1));
}

TYPED_TEST(TimelineRequest, DeliversTheSameSamplesInOneCallAndInMany) {
    TimelineRig<TypeParam> rig({25.0, 48000, 10}, Noise(19200, 1));
    const Mix whole = rig.Request(0, 19200);

    std::vector<short> pieces;
    for (int start = 0; start < 19200; start += 960) {
        const std::vector<short> values = rig.Request(start, 960).buffer.Values();
        pieces.insert(pieces.end(), values.begin(), values.end());
    }

    EXPECT_EQ(pieces, whole.buffer.Values());
}

TYPED_TEST(TimelineRequest, IgnoresTheBufferSize) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Counting(TWO_FRAMES_TOTAL));

    for (const int bufferSize : {0, -1, 39}) {
        GuardedBuffer buffer(40);
        EXPECT_EQ(rig.Mixer().GetSamples(rig.builder.Project(), rig.timeline, 5, 10, buffer.Data(),
                                         bufferSize, 0, 0),
                  10);
        EXPECT_EQ(buffer.Value(9, 0), 14);
        EXPECT_TRUE(buffer.GuardsIntact());
    }
}

TYPED_TEST(TimelineRequest, WritesSilenceWhereNothingSounds) {
    // The media file ends after 100 samples of the second frame.
    TimelineRig<TypeParam> rig(TWO_FRAMES, Constant(2020, 1000, -1000));
    rig.spyUse->SetEnabled(false);

    const Mix mix = rig.Request(1920, 1920);

    ASSERT_EQ(mix.result, 1920);
    EXPECT_EQ(mix[99], Frame(1000, -1000));
    for (int i = 100; i < 1920; ++i) ASSERT_EQ(mix[i], Frame(0, 0)) << i;
    EXPECT_TRUE(mix.buffer.GuardsIntact());
}

TYPED_TEST(TimelineRequest, ContinuesTheNoiseOfTheRequestBefore) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Constant(TWO_FRAMES_TOTAL, 1000, 1000));
    rig.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 7);

    const Mix first = rig.Request(0, 1000);
    const Mix second = rig.Request(0, 1000);

    EXPECT_NE(first.buffer.Values(), second.buffer.Values());
}

TYPED_TEST(TimelineRequest, RepeatsItsNoiseAfterResetMixSessionWithAFixedSeed) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Constant(TWO_FRAMES_TOTAL, 1000, 1000));
    rig.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 7);

    rig.Mixer().ResetMixSession();
    const Mix first = rig.Request(0, 1000);
    rig.Mixer().ResetMixSession();
    const Mix second = rig.Request(0, 1000);

    EXPECT_EQ(first.buffer.Values(), second.buffer.Values());
}

TYPED_TEST(TimelineRequest, GetsOtherNoiseFromTheClockAtEachReset) {
    TimelineRig<TypeParam> rig(TWO_FRAMES, Constant(TWO_FRAMES_TOTAL, 1000, 1000));
    rig.Mixer().SetDither(sonrel::DitherType::Triangular, sonrel::AudioMixer::DITHER_SEED_RANDOM);
    const Mix first = rig.Request(0, 1000);

    rig.Mixer().ResetMixSession();
    const Mix second = rig.Request(0, 1000);

    EXPECT_NE(first.buffer.Values(), second.buffer.Values());
}

TYPED_TEST(TimelineRequest, HasNoNoiseInSilenceButDrawsItAllTheSame) {
    // Silence takes one draw a sample, so that the following samples start 500 draws later.
    TimelineRig<TypeParam> rig({25.0, 48000, 4}, Constant(1920, 1000, 1000));
    rig.spyUse->SetEnabled(false);
    rig.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 7);
    rig.Request(0, 500);
    const Mix expected = rig.Request(0, 1000);

    rig.Mixer().ResetMixSession();
    const Mix silence = rig.Request(5000, 500);
    const Mix after = rig.Request(0, 1000);

    EXPECT_EQ(silence.buffer.Values(), std::vector<short>(1000, 0));
    // The first sample has the difference to the last draw of the silence, as before.
    EXPECT_EQ(after.buffer.Values(), expected.buffer.Values());
}

}  // namespace
}  // namespace sonrel_tests
