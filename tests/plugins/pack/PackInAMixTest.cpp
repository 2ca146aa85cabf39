// SPDX-License-Identifier: MIT
// The plugins of the pack in mixes of a timeline.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/plugins/pack/EffectRender.h"
#include "tests/support/MixRig.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {
namespace {

using sonrel::PluginPack::CreateEffect;
using sonrel::PluginPack::CreateTransition;
using sonrel::PluginPack::CurveNumber;

constexpr int IN_POINT = 3;  // frames

/// Mixes frame by frame, or in requests of other lengths.
Samples MixInPieces(MixRig& rig, const ProjectBuilder& builder, int total, int piece) {
    Samples whole;
    for (int start = 0; start < total; start += piece) {
        const int count = std::min(piece, total - start);
        const Mix mix = rig.Request(builder, start, count);
        EXPECT_EQ(mix.result, count);
        const Samples part = mix.buffer.Values();
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

/// Two objects at constant levels that meet at frame 10, with handles on both sides.
struct Join {
    ProjectBuilder builder{Format{25.0, 48000, 20}};
    MixRig rig;

    explicit Join(const char* curve) {
        const auto track = builder.AddTrack();
        const auto ends =
            builder.AddObject(track, builder.AddMedia(Constant(20 * FRAME, 1000, -1000)), 0, 10);
        const auto begins = builder.AddObject(
            track, builder.AddMedia(Constant(20 * FRAME, 3000, -3000)), 10, 20, IN_POINT);
        project::JoinWithTransition(track->Objects(), ends->ID(), begins->ID(),
                                    CreateTransition("cross-fade", {{"curve", CurveNumber(curve)}}),
                                    4, -2);
    }

    Samples MixByFrames() { return MixInPieces(rig, builder, 20 * FRAME, FRAME); }
};

TEST(PackInAMix, ALinearCrossFadeIsOneStraightLineAcrossTheJoin) {
    Join join("linear");

    const Samples mix = join.MixByFrames();

    // Four frames, 7680 samples, from frame 8 to frame 12.
    EXPECT_EQ(mix[2 * (8 * FRAME - 1)], 1000);
    EXPECT_EQ(mix[2 * (8 * FRAME)], 1000);
    EXPECT_EQ(mix[2 * (9 * FRAME)], 1500);
    EXPECT_EQ(mix[2 * (10 * FRAME)], 2000);
    EXPECT_EQ(mix[2 * (11 * FRAME) + 1], -2500);
    EXPECT_EQ(mix[2 * (12 * FRAME)], 3000);
    for (int n = 0; n < 4 * FRAME; ++n) {
        const double value = 1000.0 + 2000.0 * n / (4.0 * FRAME);
        ASSERT_NEAR(mix[2 * static_cast<std::size_t>(8 * FRAME + n)], value, 0.5 + 1e-9) << n;
    }
}

TEST(PackInAMix, AnEqualPowerCrossFadeHasBothAtMinusThreeDecibelsAtTheJoin) {
    Join join("equal-power");

    const Samples mix = join.MixByFrames();

    // 0.70711 * (1000 + 3000) at the join; cos and sin of 22.5 and of 67.5 degrees next to it.
    EXPECT_EQ(mix[2 * (9 * FRAME)], 2072);
    EXPECT_EQ(mix[2 * (10 * FRAME)], 2828);
    EXPECT_EQ(mix[2 * (11 * FRAME)], 3154);
    EXPECT_EQ(mix[2 * (11 * FRAME) + 1], -3154);
}

TEST(PackInAMix, ADecibelCrossFadeDipsAtTheJoin) {
    Join join("db");

    const Samples mix = join.MixByFrames();

    // At the join both are at -30 dB, 0.031623: 126.5. Just before the end the old side is at
    // -60 dB and then silent.
    EXPECT_EQ(mix[2 * (10 * FRAME)], 126);
    EXPECT_EQ(mix[2 * (8 * FRAME)], 1000);
    EXPECT_EQ(mix[2 * (12 * FRAME - 1)], 2998);
    EXPECT_EQ(mix[2 * (12 * FRAME)], 3000);
}

/// An object of noise with an in-point of three frames, through a chain. It ends one
/// frame after the timeline: a block in the second half of the last frame is rounded to the next
/// frame.
struct Chain {
    ProjectBuilder builder{Format{25.0, 48000, 10}};
    MixRig rig;
    RenderedObject expected;

    explicit Chain(const Effects& effects) {
        expected.source = Noise(14 * FRAME, 17);
        expected.objectOffset = -IN_POINT * FRAME;
        expected.effects = effects;
        const auto object = builder.AddObject(builder.AddMedia(expected.source), 0, 11, IN_POINT);
        for (const auto& effect : effects) object->AddEffect(effect);
    }
};

const Effects& WithoutFilters() {
    static const Effects EFFECTS = {
        CreateEffect("delay", {{"delayMs", 50}, {"taps", 2}}),
        CreateEffect("gain", {{"gainDb", -3}}), CreateEffect("delay", {{"delayMs", 100}}),
        CreateEffect("fade", {{"inFrames", 2}, {"outFrames", 3}, {"objectFrames", 10}})};
    return EFFECTS;
}

TEST(PackInAMix, AChainSoundsAsItsEffectsOneAfterTheOther) {
    Chain chain({CreateEffect("low-pass", {{"frequencyHz", 3000}}), CreateEffect("delay"),
                 CreateEffect("high-pass", {{"frequencyHz", 80}}),
                 CreateEffect("gain", {{"gainDb", -6}})});

    EXPECT_EQ(MixInPieces(chain.rig, chain.builder, 10 * FRAME, FRAME),
              chain.expected.RenderInBlocks(0, 10 * FRAME, FRAME));
}

TEST(PackInAMix, FadeGainAndDelaySoundTheSameForAnyRequestsOfTheMix) {
    Chain chain(WithoutFilters());
    const Samples byFrames = MixInPieces(chain.rig, chain.builder, 10 * FRAME, FRAME);

    EXPECT_EQ(byFrames, chain.expected.Render(0, 10 * FRAME));
    EXPECT_EQ(MixInPieces(chain.rig, chain.builder, 10 * FRAME, 10 * FRAME), byFrames);
    EXPECT_EQ(MixInPieces(chain.rig, chain.builder, 10 * FRAME, 701), byFrames);
}

TEST(PackInAMix, EffectsOnARasterSoundTheSameForAnyRequestsOfTheMix) {
    Chain chain({CreateEffect("equalizer", {{"lowDb", 6}, {"midDb", -9}, {"highDb", 3}}),
                 CreateEffect("compressor"), CreateEffect("gate", {{"thresholdDb", -6}}),
                 CreateEffect("limiter", {{"ceilingDb", -12}})});
    const Samples byFrames = MixInPieces(chain.rig, chain.builder, 10 * FRAME, FRAME);

    EXPECT_EQ(byFrames, chain.expected.Render(0, 10 * FRAME));
    EXPECT_EQ(MixInPieces(chain.rig, chain.builder, 10 * FRAME, 10 * FRAME), byFrames);
    EXPECT_EQ(MixInPieces(chain.rig, chain.builder, 10 * FRAME, 701), byFrames);
}

TEST(PackInAMix, AnObjectAtItsSourcesFirstSampleIsNotSilencedByALookBack) {
    ProjectBuilder builder(Format{25.0, 48000, 2});
    const auto object = builder.AddObject(builder.AddMedia(Constant(2 * FRAME, 8000, 8000)), 0, 2);
    object->AddEffect(CreateEffect("low-pass"));
    object->AddEffect(CreateEffect("delay"));
    MixRig rig;

    const Mix mix = rig.Request(builder, 0, 2 * FRAME);

    EXPECT_EQ(mix[2 * FRAME - 1].first, 8000);
}

}  // namespace
}  // namespace sonrel_tests
