// SPDX-License-Identifier: MIT
// Compositions: which layers sound, the rendering of one, and compositions within others.
#include <gtest/gtest.h>

#include <boost/variant/get.hpp>

#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/CompositionMixer.h"
#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

class CompositionMix : public ::testing::Test {
protected:
    Mix Request(long long start, int count) {
        return rig_.Request(builder_.Project(), composition_, start, count);
    }
    std::shared_ptr<project::AssetLayer> AddTone(short value, int startFrame = 0,
                                                 int endFrame = 250) {
        return builder_.AddLayer(composition_, builder_.AddMedia(Constant(400000, value, -value)),
                                 startFrame, endFrame);
    }

    ProjectBuilder builder_;
    MixRig rig_;
    std::shared_ptr<project::CompositionAsset> composition_ = builder_.AddComposition({});
};

TEST_F(CompositionMix, AddsUpItsLayers) {
    AddTone(1000);
    AddTone(20);
    AddTone(-3);

    EXPECT_EQ(Request(0, 10)[9], Frame(1017, -1017));
}

TEST_F(CompositionMix, WithoutLayersIsSilent) {
    const Mix mix = Request(0, 4000);

    EXPECT_EQ(mix.result, 4000);
    EXPECT_EQ(mix.buffer.Values(), Samples(8000, 0));
}

TEST_F(CompositionMix, PlaysALayerOnTheFramesOfItsSpan) {
    AddTone(1000, 100, 200);

    EXPECT_EQ(Request(99 * FRAME, FRAME)[0], Frame(0, 0));
    EXPECT_EQ(Request(100 * FRAME, FRAME)[0], Frame(1000, -1000));
    EXPECT_EQ(Request(199 * FRAME, FRAME)[0], Frame(1000, -1000));
    EXPECT_EQ(Request(200 * FRAME, FRAME)[0], Frame(0, 0));
}

TEST_F(CompositionMix, RunsALayerToTheEndOfTheBlockThatItEndsIn) {
    AddTone(1000, 0, 2);

    const Mix mix = Request(FRAME + 900, FRAME);

    EXPECT_EQ(mix[0], Frame(1000, -1000));
    EXPECT_EQ(mix[FRAME - 1], Frame(1000, -1000));
}

TEST_F(CompositionMix, PlaysLayersThatOverlap) {
    AddTone(1000, 0, 20);
    AddTone(20, 10, 30);

    EXPECT_EQ(Request(15 * FRAME, 1)[0], Frame(1020, -1020));
}

TEST_F(CompositionMix, DoesNotRenderALayerThatIsMutedHiddenOrSilent) {
    const auto spy = std::make_shared<SpyEffect>();
    const auto layer = AddTone(1000);
    layer->AddEffect(spy);

    layer->SetMuted(true);
    EXPECT_EQ(Request(0, 10)[0], Frame(0, 0));
    layer->SetMuted(false);
    layer->SetVisible(false);
    EXPECT_EQ(Request(0, 10)[0], Frame(0, 0));
    layer->SetVisible(true);
    layer->SetHasAudio(false);
    EXPECT_EQ(Request(0, 10)[0], Frame(0, 0));
    EXPECT_TRUE(spy->rangesCalls.empty());

    layer->SetHasAudio(true);
    EXPECT_EQ(Request(0, 10)[0], Frame(1000, -1000));
    EXPECT_EQ(spy->rangesCalls.size(), 1u);
}

TEST_F(CompositionMix, SkipsALayerThatOnlyDraws) {
    const auto picture = std::make_shared<project::PictureLayer>();
    picture->SetRange(0, 250);
    composition_->AddLayer(picture);
    AddTone(20);

    EXPECT_EQ(Request(0, 10)[0], Frame(20, -20));
}

/// A layer that only draws, with an asset that has sound.
class DrawnSound : public project::AssetLayer {
public:
    using AssetLayer::AssetLayer;
    int LayerType() const override { return 1; }
    bool HasAudio() const override {
        ++timesAsked;
        return true;
    }
    mutable int timesAsked = 0;
};

TEST_F(CompositionMix, SkipsALayerThatOnlyDrawsButHasAudio) {
    const auto spy = std::make_shared<SpyEffect>();
    const auto layer =
        std::make_shared<DrawnSound>(builder_.AddMedia(Constant(1000, 500, 500))->ID());
    layer->SetRange(0, 250);
    layer->AddEffect(spy);
    composition_->AddLayer(layer);
    AddTone(20);

    EXPECT_EQ(Request(0, 10)[0], Frame(20, -20));
    EXPECT_EQ(layer->timesAsked, 0) << "the kind of the layer is tested first";
    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 0, 10).result, -1);
    EXPECT_TRUE(spy->rangesCalls.empty());
}

TEST_F(CompositionMix, AddsNothingOfALayerThatCannotBeRendered) {
    builder_.AddLayer(composition_, builder_.AddSilentMedia(), 0, 250);
    AddTone(20);

    const Mix mix = Request(0, 10);

    EXPECT_EQ(mix.result, 10);
    EXPECT_EQ(mix[0], Frame(20, -20));
}

TEST_F(CompositionMix, AppliesTheLevelOfALayerOnItsOwnClock) {
    const auto layer = AddTone(10000, 25, 200);
    layer->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    layer->Animation().SetKeyframe("audioLevel", 100, -40.0f);

    // 50 ms after the layer's start at one second: -20 dB, 10000 * 0.1.
    EXPECT_EQ(Request(48000 + 2400, 1)[0], Frame(1000, -1000));
}

TEST_F(CompositionMix, RampsTheLevelWithinABlock) {
    const auto layer = AddTone(-32768);
    layer->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    layer->Animation().SetKeyframe("audioLevel", 21, -12.0f);  // 1000 samples

    const Mix mix = Request(0, 1000);

    EXPECT_EQ(mix[0].first, -32768);
    EXPECT_EQ(mix[500].first, -8230);  // -12 dB: 0.251188636 * 32768 = 8230.9
    EXPECT_EQ(mix[999].first, -2073);  // -23.976 dB: 0.0632666 * 32768 = 2073.1
}

TEST_F(CompositionMix, MissingALevelLeavesTheMixAsAnException) {
    const auto layer = AddTone(1000);
    layer->Animation().RemoveProperty("audioLevel");

    EXPECT_THROW(Request(0, 10), boost::bad_get);

    EXPECT_TRUE(rig_.Mixer().Mutex().try_lock());
    rig_.Mixer().Mutex().unlock();
    layer->Animation().SetStaticValue("audioLevel", 0.0f);
    EXPECT_EQ(Request(0, 10)[0], Frame(1000, -1000));
}

TEST_F(CompositionMix, RefusesABlockOfMoreThanAFrame) {
    GuardedBuffer buffer(4 * (FRAME + 1));
    auto& mixer = sonrel::AudioMixerAccess::Impl(rig_.Mixer());
    const auto mix = [&](int count) {
        return sonrel::detail::CompositionMixer(mixer, builder_.Project(), composition_,
                                                sonrel::detail::Metering::Off)
            .MixBlock({0, count, 48000}, 25.0, zrtl::FramesOf(buffer.Data()));
    };

    EXPECT_EQ(mix(FRAME + 1), -3);
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_EQ(mix(FRAME), FRAME);
}

// Rendering of one layer.

TEST_F(CompositionMix, RendersALayerFromItsStartAndInPoint) {
    const auto layer =
        builder_.AddLayer(composition_, builder_.AddMedia(Counting(30000)), 25, 100, 10);

    const Rendered rendered = rig_.Render(builder_, layer, 48000, 48000, 10);

    ASSERT_EQ(rendered.result, 10);
    EXPECT_EQ(rendered[0], Frame(19200, -10800));
    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 48000 - 19200, 10)[0].first, 0);
    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 48000 - 19201, 10).result, -1);
}

TEST_F(CompositionMix, RendersALayerWithTheFrameRateOfItsParent) {
    const auto parent = builder_.AddComposition({50.0, 48000, 100});
    const auto layer = builder_.AddLayer(parent, builder_.AddMedia(Counting(30000)), 25, 100, 10);

    // Frame 25 at 50 frames a second is half a second, and frame 10 is 9600 samples.
    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 24000, 10)[0].first, 9600);
}

TEST_F(CompositionMix, RendersALayerAtTheRequestedRate) {
    const auto layer =
        builder_.AddLayer(composition_, builder_.AddMedia(Counting(30000)), 25, 100, 10);

    // At 24000 Hz frame 25 is sample 24000 and frame 10 is sample 9600.
    EXPECT_EQ(rig_.Render(builder_, layer, 24000, 24000, 10)[0].first, 9600);
}

TEST_F(CompositionMix, RendersAsMuchOfALayerAsItsSourceHas) {
    const auto layer = builder_.AddLayer(composition_, builder_.AddMedia(Counting(700)), 0, 100);

    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 0, 1000).result, 700);
}

TEST_F(CompositionMix, RendersNothingOfALayerThatHasNoAudioOrShowsNoAsset) {
    const auto layer = AddTone(1000);
    layer->SetHasAudio(false);
    const auto picture = std::make_shared<project::PictureLayer>();
    composition_->AddLayer(picture);

    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 0, 10).result, -1);
    EXPECT_EQ(rig_.Render(builder_, picture, 48000, 0, 10).result, -1);
}

TEST_F(CompositionMix, RendersALayerRegardlessOfMuteAndVisibility) {
    const auto layer = AddTone(1000, 100, 200);
    layer->SetMuted(true);
    layer->SetVisible(false);

    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 150 * FRAME, 10)[0], Frame(1000, -1000));
}

TEST_F(CompositionMix, RendersNothingOfALayerThatNoCompositionHolds) {
    const auto layer = AddTone(1000);
    composition_->RemoveLayer(layer->ID());

    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 0, 10).result, -1);
}

// Compositions within others.

class NestedMix : public CompositionMix {
protected:
    int PoolDepth() { return sonrel::AudioMixerAccess::Impl(rig_.Mixer()).floatBlocks.Depth(); }
    std::shared_ptr<project::AssetLayer> Nest(
        const std::shared_ptr<project::CompositionAsset>& inner, int inPointFrame = 0) {
        return builder_.AddLayer(composition_, inner, 0, 250, inPointFrame);
    }
    std::shared_ptr<project::CompositionAsset> AddCountingInner(const Format& format) {
        const auto inner = builder_.AddComposition(format);
        builder_.AddLayer(inner, builder_.AddMedia(Counting(30000)), 0, format.frames + 1);
        return inner;
    }
};

TEST_F(NestedMix, PlaysTheInnerMix) {
    Nest(AddCountingInner({}), 2);

    EXPECT_EQ(Request(100, 10)[0], Frame(3940, -26060));
}

TEST_F(NestedMix, TakesAFloatBlockForEachLevel) {
    Nest(AddCountingInner({}));

    Request(0, FRAME);
    EXPECT_EQ(PoolDepth(), 2);
    Request(0, 3 * FRAME);
    EXPECT_EQ(PoolDepth(), 6);
}

TEST_F(NestedMix, TakesAFloatBlockForEachInnerBlock) {
    // 960 samples to an inner frame.
    Nest(AddCountingInner({50.0, 48000, 500}));

    Request(0, FRAME);

    EXPECT_EQ(PoolDepth(), 3);
}

TEST_F(NestedMix, KeepsItsFloatBlocksBetweenRendersUntilTheNextReset) {
    const auto layer = Nest(AddCountingInner({}));
    Request(0, FRAME);

    rig_.Render(builder_, layer, 48000, 0, FRAME);
    EXPECT_EQ(PoolDepth(), 3);
    rig_.Render(builder_, layer, 48000, 0, FRAME);
    EXPECT_EQ(PoolDepth(), 4);
    Request(0, FRAME);
    EXPECT_EQ(PoolDepth(), 2);
}

TEST_F(NestedMix, ResetsTheFloatBlocksForEachRequestOfATimelineOrAnyAsset) {
    const auto inner = AddCountingInner({});
    Nest(inner);
    GuardedBuffer buffer(400);
    Request(0, 5 * FRAME);

    const std::shared_ptr<project::AbstractAsset> asset = inner;
    rig_.Mixer().GetSamples(builder_.Project(), asset, 0, 100, 48000, buffer.Data(), 400);
    EXPECT_EQ(PoolDepth(), 1);
    rig_.Request(builder_, 0, 100);
    EXPECT_EQ(PoolDepth(), 1);
    const auto media = builder_.AddMedia(Counting(1000));
    rig_.Mixer().GetSamples(media, 0, 100, buffer.Data(), 400);
    EXPECT_EQ(PoolDepth(), 1);
}

TEST_F(NestedMix, PassesSamplesOneForOneBetweenRates) {
    // The inner second of 44100 samples ends after 44100 samples of 48000 per second.
    Nest(AddCountingInner({25.0, 44100, 25}));

    const Mix mix = Request(0, 48000);

    EXPECT_EQ(mix[1920].first, 1920);
    EXPECT_EQ(mix[29999].first, 29999);
    EXPECT_EQ(mix[30000].first, 0);  // the media file of 30000 samples has ended
    EXPECT_EQ(mix[44100].first, 0);
}

TEST_F(NestedMix, CutsTheInnerMixAtItsEnd) {
    Nest(AddCountingInner({25.0, 48000, 2}));

    const Mix mix = Request(FRAME, 2 * FRAME);

    EXPECT_EQ(mix[FRAME - 1].first, 2 * FRAME - 1);
    EXPECT_EQ(mix[FRAME], Frame(0, 0));
}

TEST_F(NestedMix, IsSilentWhenTheInnerRequestIsTooLong) {
    // 96000 outer samples in a frame, at an inner rate of which 60 seconds are 60000.
    const auto outer = builder_.AddComposition({0.5, 48000, 10});
    const auto inner = builder_.AddComposition({10.0, 1000, 10000});
    builder_.AddLayer(inner, builder_.AddMedia(Counting(30000)), 0, 10000);
    const auto layer = builder_.AddLayer(outer, inner, 0, 10);

    const Mix mix = rig_.Request(builder_.Project(), outer, 0, 60001);
    EXPECT_EQ(mix.result, 60001);
    EXPECT_EQ(mix[5], Frame(0, 0));
    EXPECT_EQ(rig_.Render(builder_, layer, 48000, 0, 60001).result, -1);

    EXPECT_EQ(rig_.Request(builder_.Project(), outer, 0, 60000)[5], Frame(5, -29995));
}

TEST(MixerDither, IsTheTypeThatWasStoredLast) {
    MixRig rig;
    for (const auto type : {sonrel::DitherType::Triangular, sonrel::DitherType::HighPassTriangular,
                            sonrel::DitherType::None}) {
        rig.Mixer().SetDither(type, 5);
        rig.Mixer().ResetMixSession();

        EXPECT_EQ(rig.Mixer().Dither(), type);
    }
}

TEST_F(NestedMix, DrawsNoiseAtEachLevelFromOneGenerator) {
    // The same outer mix, with and without a nested level on the way: the inner conversion takes
    // draws first, so that the outer one gets later ones.
    AddTone(1000);
    rig_.Mixer().SetDither(sonrel::DitherType::Triangular, 5);
    const Mix flat = Request(0, 3 * FRAME);

    const auto silentInner = builder_.AddComposition({});
    Nest(silentInner);
    rig_.Mixer().ResetMixSession();
    const Mix nested = Request(0, FRAME);

    // The inner block of silence comes out as digital zero and takes two draws a sample, so that
    // the outer block has the noise of the second block before.
    const Samples all = flat.buffer.Values();
    EXPECT_EQ(nested.buffer.Values(), Samples(all.begin() + 2 * FRAME, all.begin() + 4 * FRAME));
    EXPECT_NE(nested.buffer.Values(), Samples(all.begin(), all.begin() + 2 * FRAME));
}

TEST_F(NestedMix, ClipsAtEachLevel) {
    const auto inner = builder_.AddComposition({});
    for (int i = 0; i < 2; ++i) {
        builder_.AddLayer(inner, builder_.AddMedia(Constant(3000, 30000, 30000)), 0, 10);
    }
    Nest(inner)->Animation().SetStaticValue("audioLevel", -20.0f);

    EXPECT_EQ(Request(0, 1)[0], Frame(3276, 3276));  // a tenth of 32767, not of 60000
}

TEST_F(NestedMix, ShowsTheMasterMeterTheOutermostMixOnly) {
    Nest(AddCountingInner({}));
    rig_.Mixer().StartMeterSession(0, 100);

    Request(0, FRAME);

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 19u);
    rig_.Mixer().StopMeterSession();
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 20u);  // the last one is short
    EXPECT_EQ(rig_.Mixer().MetricsForBlock(19).masterMetrics.sampleCount, 20);
}

TEST_F(NestedMix, ShowsNoMeterAnythingOfAnAssetRead) {
    const std::shared_ptr<project::AbstractAsset> inner = AddCountingInner({});
    GuardedBuffer buffer(4 * FRAME);
    rig_.Mixer().StartMeterSession(0, 100);

    rig_.Mixer().GetSamples(builder_.Project(), inner, 0, FRAME, 48000, buffer.Data(),
                            buffer.Size());

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);
}

}  // namespace
}  // namespace sonrel_tests
