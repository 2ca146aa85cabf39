// SPDX-License-Identifier: MIT
// Chains of effects: the calls of each effect and their order, and the range read of the source.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

/// An effect that needs @p frames more before its output, and returns the end of its input.
std::shared_ptr<SpyEffect> LookBack(int frames) {
    auto effect = std::make_shared<SpyEffect>();
    effect->onRanges = [frames](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample - frames, call.firstSample + call.sampleCount});
    };
    effect->onProcess = [](const ProcessCall& call, short* samples) {
        const auto skipped = static_cast<int>(call.firstSample - call.inputFirstSample);
        std::copy(samples + 2 * skipped, samples + 2 * (skipped + call.outputCount), samples);
    };
    return effect;
}

// An object at frame 25, sample 48000, whose in-point is frame 10, sample 19200: the object offset
// is -19200, and sample p of the object is sample p + 19200 of the source.
class EffectChain : public ::testing::Test {
protected:
    std::shared_ptr<project::EffectInstance> Add(const std::shared_ptr<SpyEffect>& effect) {
        return object_->AddEffect(effect);
    }
    Rendered Render(long long start, int count, const zrtl::ZRID& stop = {}) {
        return rig_.Render(builder_, object_, start, count, stop);
    }

    static constexpr int FIRST = 48000;
    static constexpr int IN_POINT = 19200;

    ProjectBuilder builder_;
    MixRig rig_;
    std::shared_ptr<project::AssetAudioObject> object_ =
        builder_.AddObject(builder_.AddMedia(Counting(32000)), 25, 100, 10);
};

TEST_F(EffectChain, OfNoEffectsIsTheSource) {
    const Rendered rendered = Render(FIRST + 100, 10);

    EXPECT_EQ(rendered.result, 10);
    EXPECT_EQ(rendered[0].first, IN_POINT + 100);
}

TEST_F(EffectChain, PassesAllArgumentsToRequiredRanges) {
    const auto spy = std::make_shared<SpyEffect>();
    const auto use = Add(spy);

    Render(FIRST + 4800, 960);

    ASSERT_EQ(spy->rangesCalls.size(), 1u);
    const RangesCall expected{.instance = use.get(),
                              .channels = 2,
                              .sampleRate = 48000,
                              .bitsPerSample = 16,
                              .sampleCount = 960,
                              .timelineMs = 1100,
                              .startMs = 100,
                              .endMs = 120,
                              .firstSample = 4800,
                              .objectOffset = -19200,
                              .rangesEmpty = true,
                              .previewing = false};
    EXPECT_EQ(spy->rangesCalls[0], expected);
}

TEST_F(EffectChain, PassesAllArgumentsToProcessAudio) {
    const auto spy = std::make_shared<SpyEffect>();
    const auto use = Add(spy);

    Render(FIRST + 4800, 960);

    ASSERT_EQ(spy->processCalls.size(), 1u);
    const ProcessCall expected{.instance = use.get(),
                               .channels = 2,
                               .sampleRate = 48000,
                               .bitsPerSample = 16,
                               .inputCount = 960,
                               .outputCount = 960,
                               .timelineMs = 1100,
                               .startMs = 100,
                               .endMs = 120,
                               .firstSample = 4800,
                               .inputFirstSample = 4800,
                               .objectOffset = -19200,
                               .previewing = false};
    EXPECT_EQ(spy->processCalls[0], expected);
}

TEST_F(EffectChain, CutsItsTimesTowardZeroInTheirOrder) {
    // 48048 / 48000 is 1.001, and 1.001 * 1000.0 is 1000.9999999999999.
    const auto spy = std::make_shared<SpyEffect>();
    builder_.AddObject(builder_.AddMedia(Counting(50000)), 0, 100)->AddEffect(spy);

    rig_.Request(builder_, 48048, 10);

    ASSERT_EQ(spy->processCalls.size(), 1u);
    EXPECT_EQ(spy->processCalls[0].firstSample, 48048);
    EXPECT_EQ(spy->processCalls[0].startMs, 1000);
    EXPECT_EQ(spy->processCalls[0].timelineMs, 1000);
}

TEST_F(EffectChain, AddsTheObjectsStartToItsTimesBeforeItCutsThem) {
    // At 1000 frames a second an object can start at 1001 ms; (0 + 1.001) * 1000.0 is
    // 1000.9999999999999.
    builder_.Sequence()->Settings().SetFrameRate(1000.0);
    object_->SetRange(1001, 5000);
    const auto spy = std::make_shared<SpyEffect>();
    Add(spy);

    Render(48048, 10);

    ASSERT_EQ(spy->processCalls.size(), 1u);
    EXPECT_EQ(spy->processCalls[0].firstSample, 0);
    EXPECT_EQ(spy->processCalls[0].startMs, 0);
    EXPECT_EQ(spy->processCalls[0].timelineMs, 1000);
}

TEST_F(EffectChain, CutsNegativeTimesTowardZeroToo) {
    const auto spy = std::make_shared<SpyEffect>();
    Add(spy);

    Render(FIRST - 100, 10);  // -100 / 48 = -2.08 ms

    ASSERT_EQ(spy->processCalls.size(), 1u);
    EXPECT_EQ(spy->processCalls[0].startMs, -2);
    EXPECT_EQ(spy->processCalls[0].endMs, -1);
    EXPECT_EQ(spy->processCalls[0].timelineMs, 997);
}

TEST_F(EffectChain, ReadsAsFarBackAsAnEffectAsks) {
    const auto effect = LookBack(4800);
    Add(effect);

    const Rendered rendered = Render(FIRST, 1000);

    ASSERT_EQ(rendered.result, 1000);
    EXPECT_EQ(rendered.Capacity(), 5800);
    EXPECT_EQ(effect->processCalls[0].inputCount, 5800);
    EXPECT_EQ(effect->processCalls[0].outputCount, 1000);
    EXPECT_EQ(effect->processCalls[0].firstSample, 0);
    EXPECT_EQ(effect->processCalls[0].inputFirstSample, -4800);
    EXPECT_EQ(rendered[0].first, IN_POINT);
    EXPECT_EQ(rendered[999].first, IN_POINT + 999);
}

TEST_F(EffectChain, PassesAnEffectItsInputFromItsFirstSample) {
    const auto effect = LookBack(4800);
    short firstInput = 0;
    effect->onProcess = [&](const ProcessCall&, short* samples) { firstInput = samples[0]; };
    Add(effect);

    Render(FIRST, 1000);

    EXPECT_EQ(firstInput, IN_POINT - 4800);
}

TEST_F(EffectChain, SilencesAnObjectWhoseEffectLooksBackBeforeTheSource) {
    Add(LookBack(IN_POINT));
    EXPECT_EQ(Render(FIRST, 1000).result, 1000);

    Add(LookBack(1));
    EXPECT_EQ(Render(FIRST, 1000).result, -1);
}

TEST_F(EffectChain, PlansFromTheLastEffectToTheFirst) {
    const auto first = LookBack(1000);
    const auto second = LookBack(200);
    Add(first);
    Add(second);

    const Rendered rendered = Render(FIRST, 50);

    ASSERT_EQ(rendered.result, 50);
    EXPECT_EQ(second->rangesCalls[0].firstSample, 0);
    EXPECT_EQ(second->rangesCalls[0].sampleCount, 50);
    EXPECT_EQ(first->rangesCalls[0].firstSample, -200);
    EXPECT_EQ(first->rangesCalls[0].sampleCount, 250);
    EXPECT_EQ(first->processCalls[0].inputCount, 1250);
    EXPECT_EQ(first->processCalls[0].outputCount, 250);
    EXPECT_EQ(second->processCalls[0].inputCount, 250);
    EXPECT_EQ(second->processCalls[0].outputCount, 50);
    EXPECT_EQ(rendered.Capacity(), 1250);
    EXPECT_EQ(rendered[0].first, IN_POINT);
}

TEST_F(EffectChain, PassesEachEffectTheTimesOfTheRangeThatItDelivers) {
    const auto first = std::make_shared<SpyEffect>();
    Add(first);
    Add(LookBack(480));

    Render(FIRST + 4800, 960);

    EXPECT_EQ(first->rangesCalls[0].startMs, 90);
    EXPECT_EQ(first->rangesCalls[0].endMs, 120);
    EXPECT_EQ(first->rangesCalls[0].timelineMs, 1090);
    EXPECT_EQ(first->processCalls[0].startMs, 90);
    EXPECT_EQ(first->processCalls[0].endMs, 120);
    EXPECT_EQ(first->processCalls[0].timelineMs, 1090);
}

TEST_F(EffectChain, RunsFromTheFirstEffectToTheLast) {
    const auto twice = std::make_shared<SpyEffect>();
    twice->onProcess = [](const ProcessCall&, short* samples) { samples[0] = 2 * samples[0]; };
    const auto plusOne = std::make_shared<SpyEffect>();
    plusOne->onProcess = [](const ProcessCall&, short* samples) { ++samples[0]; };
    object_->SetSourceStartFrame(0);
    Add(twice);
    Add(plusOne);

    EXPECT_EQ(Render(FIRST + 100, 1)[0].first, 201);
}

TEST_F(EffectChain, SharesOneBufferOfTheLongestRange) {
    const auto big = LookBack(5000);
    const auto writer = std::make_shared<SpyEffect>();
    writer->onProcess = [](const ProcessCall& call, short* samples) {
        ASSERT_EQ(call.inputCount, 100);
        std::fill_n(samples, 2 * 5100, short{7});  // room for the longest range of the chain
    };
    Add(big);
    Add(writer);

    EXPECT_EQ(Render(FIRST, 100)[99], Frame(7, 7));
}

TEST_F(EffectChain, SkipsADisabledEffectInBothPasses) {
    const auto off = LookBack(1000);
    const auto on = LookBack(10);
    Add(off)->SetEnabled(false);
    Add(on);

    const Rendered rendered = Render(FIRST, 50);

    EXPECT_TRUE(off->rangesCalls.empty());
    EXPECT_TRUE(off->processCalls.empty());
    EXPECT_EQ(on->processCalls[0].inputCount, 60);
    EXPECT_EQ(rendered.result, 50);
}

TEST_F(EffectChain, PassesARangeOnUnchangedWhenAnEffectNamesNone) {
    const auto first = std::make_shared<SpyEffect>();
    const auto second = std::make_shared<SpyEffect>();
    Add(first);
    Add(second);

    const Rendered rendered = Render(FIRST, 50);

    EXPECT_EQ(first->rangesCalls[0].firstSample, 0);
    EXPECT_EQ(first->rangesCalls[0].sampleCount, 50);
    EXPECT_EQ(first->processCalls[0].inputCount, 50);
    EXPECT_EQ(second->processCalls[0].inputCount, 50);
    EXPECT_EQ(rendered.result, 50);
    EXPECT_EQ(rendered.Capacity(), 50);
}

TEST_F(EffectChain, TakesOnlyTheFirstRangeOfAnEffect) {
    const auto effect = std::make_shared<SpyEffect>();
    effect->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample - 5, call.firstSample + 5});
        ranges.push_back({call.firstSample - 5000, call.firstSample + 5000});
    };
    Add(effect);

    const Rendered rendered = Render(FIRST, 50);

    EXPECT_EQ(effect->processCalls[0].inputCount, 10);
    EXPECT_EQ(rendered.Capacity(), 50);
}

TEST_F(EffectChain, LetsAnEffectNeedLessThanItDelivers) {
    const auto effect = std::make_shared<SpyEffect>();
    effect->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample + 10, call.firstSample + 20});
    };
    Add(effect);

    const Rendered rendered = Render(FIRST, 50);

    EXPECT_EQ(rendered.result, 50);
    EXPECT_EQ(effect->processCalls[0].inputCount, 10);
    EXPECT_EQ(effect->processCalls[0].inputFirstSample, 10);
    EXPECT_EQ(rendered[0].first, IN_POINT + 10);
}

TEST_F(EffectChain, RunsEffectsThatNeedNoInputAtAll) {
    const auto generator = std::make_shared<SpyEffect>();
    generator->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample});
    };
    generator->onProcess = [](const ProcessCall& call, short* samples) {
        std::fill_n(samples, 2 * call.outputCount, short{9});
    };
    Add(generator);

    const Rendered rendered = Render(FIRST, 50);

    EXPECT_EQ(rendered.result, 50);
    EXPECT_EQ(generator->processCalls[0].inputCount, 0);
    EXPECT_EQ(rendered[49], Frame(9, 9));
}

TEST_F(EffectChain, RunsNoEffectWhenTheSourceHasNothing) {
    const auto effect = std::make_shared<SpyEffect>();
    Add(effect);

    EXPECT_EQ(Render(FIRST + 100000, 50).result, -1);

    EXPECT_EQ(effect->rangesCalls.size(), 1u);
    EXPECT_TRUE(effect->processCalls.empty());
}

TEST_F(EffectChain, IgnoresTheResultsOfEffects) {
    const auto effect = std::make_shared<SpyEffect>();
    effect->result = -1;
    Add(effect);

    EXPECT_EQ(Render(FIRST, 50).result, 50);
}

TEST_F(EffectChain, CountsItsInputAtOutputTimeAfterSpeed) {
    object_->SetSourceStartFrame(0);
    object_->Animation().SetStaticValue("speed", 2.0);
    const auto effect = LookBack(100);
    Add(effect);

    const Rendered rendered = Render(FIRST + 1000, 50);

    // 150 frames from position 900 of the object: from 1800 of the source at twice the speed.
    EXPECT_EQ(rendered.result, 50);
    EXPECT_EQ(effect->processCalls[0].inputCount, 150);
    EXPECT_NEAR(rendered[0].first, 2000, 1);
}

// A stop effect.

class StoppedChain : public EffectChain {
protected:
    std::shared_ptr<SpyEffect> first_ = LookBack(1);
    std::shared_ptr<SpyEffect> second_ = LookBack(20);
    std::shared_ptr<SpyEffect> third_ = LookBack(300);
    std::shared_ptr<project::EffectInstance> firstUse_ = Add(first_);
    std::shared_ptr<project::EffectInstance> secondUse_ = Add(second_);
    std::shared_ptr<project::EffectInstance> thirdUse_ = Add(third_);
};

TEST_F(StoppedChain, RunsTheEffectsBeforeTheStopOnly) {
    const Rendered rendered = Render(FIRST, 50, secondUse_->ID());

    EXPECT_EQ(rendered.result, 50);
    EXPECT_EQ(first_->processCalls.size(), 1u);
    EXPECT_TRUE(second_->processCalls.empty());
    EXPECT_TRUE(third_->processCalls.empty());
}

TEST_F(StoppedChain, DropsThePlanAfterTheStop) {
    const Rendered rendered = Render(FIRST, 50, secondUse_->ID());

    EXPECT_EQ(third_->rangesCalls.size(), 1u);
    EXPECT_TRUE(second_->rangesCalls.empty());
    ASSERT_EQ(first_->rangesCalls.size(), 1u);
    EXPECT_EQ(first_->rangesCalls[0].firstSample, 0);
    EXPECT_EQ(first_->rangesCalls[0].sampleCount, 50);
    EXPECT_EQ(first_->processCalls[0].inputCount, 51);
    EXPECT_EQ(rendered[0].first, IN_POINT);
    // The room that was planned for stays.
    EXPECT_EQ(rendered.Capacity(), 350);
}

TEST_F(StoppedChain, ReportsThatItPreviews) {
    Render(FIRST, 50, secondUse_->ID());
    EXPECT_TRUE(third_->rangesCalls[0].previewing);
    EXPECT_TRUE(first_->rangesCalls[0].previewing);
    EXPECT_TRUE(first_->processCalls[0].previewing);

    Render(FIRST, 50);
    EXPECT_FALSE(first_->rangesCalls[1].previewing);
    EXPECT_FALSE(first_->processCalls[1].previewing);
}

TEST_F(StoppedChain, AtItsFirstEffectIsTheSource) {
    const Rendered rendered = Render(FIRST, 50, firstUse_->ID());

    EXPECT_EQ(rendered.result, 50);
    EXPECT_EQ(rendered[49].first, IN_POINT + 49);
    EXPECT_TRUE(first_->processCalls.empty());
}

TEST_F(StoppedChain, StopsAtADisabledEffectToo) {
    secondUse_->SetEnabled(false);

    Render(FIRST, 50, secondUse_->ID());

    EXPECT_EQ(first_->processCalls.size(), 1u);
    EXPECT_TRUE(third_->processCalls.empty());
}

TEST_F(StoppedChain, RunsWholeWhenNoEffectIsTheStop) {
    Render(FIRST, 50, zrtl::ZRID::Create());

    for (const auto& effect : {first_, second_, third_}) {
        ASSERT_EQ(effect->processCalls.size(), 1u);
        EXPECT_TRUE(effect->processCalls[0].previewing);
        EXPECT_TRUE(effect->rangesCalls[0].previewing);
    }
    EXPECT_EQ(first_->processCalls[0].inputCount, 371);
}

// Layers.

class LayerChain : public ::testing::Test {
protected:
    ProjectBuilder builder_;
    MixRig rig_;
    std::shared_ptr<project::CompositionAsset> composition_ = builder_.AddComposition({});
    std::shared_ptr<project::AssetLayer> layer_ =
        builder_.AddLayer(composition_, builder_.AddMedia(Counting(32000)), 25, 100, 10);
};

TEST_F(LayerChain, PassesItsEffectsTheArgumentsOfAnObjectsChain) {
    const auto spy = std::make_shared<SpyEffect>();
    const auto use = layer_->AddEffect(spy);

    const Rendered rendered = rig_.Render(builder_, layer_, 48000, 48000 + 4800, 960);

    EXPECT_EQ(rendered.result, 960);
    ASSERT_EQ(spy->processCalls.size(), 1u);
    const ProcessCall expected{.instance = use.get(),
                               .channels = 2,
                               .sampleRate = 48000,
                               .bitsPerSample = 16,
                               .inputCount = 960,
                               .outputCount = 960,
                               .timelineMs = 1100,
                               .startMs = 100,
                               .endMs = 120,
                               .firstSample = 4800,
                               .inputFirstSample = 4800,
                               .objectOffset = -19200,
                               .previewing = false};
    EXPECT_EQ(spy->processCalls[0], expected);
}

TEST_F(LayerChain, SkipsEffectsOfOtherKindsInBothPasses) {
    const auto picture = LookBack(1000);
    picture->kind = 2;
    const auto audio = LookBack(10);
    layer_->AddEffect(audio);
    layer_->AddEffect(picture);

    const Rendered rendered = rig_.Render(builder_, layer_, 48000, 48000, 50);

    EXPECT_EQ(rendered.result, 50);
    EXPECT_TRUE(picture->rangesCalls.empty());
    EXPECT_TRUE(picture->processCalls.empty());
    EXPECT_EQ(audio->processCalls[0].inputCount, 60);
}

TEST_F(LayerChain, StopsAtAnEffectOfAnotherKind) {
    const auto picture = std::make_shared<SpyEffect>();
    picture->kind = 2;
    const auto audio = std::make_shared<SpyEffect>();
    const auto pictureUse = layer_->AddEffect(picture);
    layer_->AddEffect(audio);

    rig_.Render(builder_, layer_, 48000, 48000, 50, pictureUse->ID());

    EXPECT_TRUE(audio->processCalls.empty());
}

}  // namespace
}  // namespace sonrel_tests
