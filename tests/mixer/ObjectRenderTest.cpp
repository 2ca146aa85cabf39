// SPDX-License-Identifier: MIT
// The rendering of one audio object: from a timeline position to samples of its source.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "tests/reference/ReferenceResampler.h"
#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

using Frame = std::pair<short, short>;

class ObjectRender : public ::testing::Test {
protected:
    /// An object that counts the frames of its source.
    std::shared_ptr<project::AssetAudioObject> AddCounting(ProjectBuilder& builder, int startFrame,
                                                           int inPointFrame,
                                                           int sourceFrames = 32000) {
        return builder.AddObject(builder.AddMedia(Counting(sourceFrames)), startFrame,
                                 startFrame + 100, inPointFrame);
    }

    ProjectBuilder builder_;
    MixRig rig_;
};

TEST_F(ObjectRender, BeginsWithTheSourceAtTheObjectsStart) {
    const auto object = AddCounting(builder_, 100, 0);

    // Frame 100 at 25 frames a second is sample 192000.
    const Rendered rendered = rig_.Render(builder_, object, 192000, 10);

    ASSERT_EQ(rendered.result, 10);
    EXPECT_EQ(rendered[0], Frame(0, -30000));
    EXPECT_EQ(rendered[9], Frame(9, -29991));
    EXPECT_EQ(rendered.Capacity(), 10);
}

TEST_F(ObjectRender, HasNothingBeforeTheSourcesFirstSample) {
    const auto object = AddCounting(builder_, 100, 0);

    EXPECT_EQ(rig_.Render(builder_, object, 191999, 10).result, -1);
    EXPECT_EQ(rig_.Render(builder_, object, LLONG_MIN, 10).result, -1);
}

TEST_F(ObjectRender, ReadsBeforeTheObjectsStartAsFarAsItsInPointReaches) {
    const auto object = AddCounting(builder_, 100, 2);

    // In-point 3840.
    EXPECT_EQ(rig_.Render(builder_, object, 192000, 10)[0], Frame(3840, -26160));
    EXPECT_EQ(rig_.Render(builder_, object, 192000 - 3840, 10)[0], Frame(0, -30000));
    EXPECT_EQ(rig_.Render(builder_, object, 192000 - 3841, 10).result, -1);
}

TEST_F(ObjectRender, ReadsAfterTheObjectsEndAsFarAsTheSourceReaches) {
    const auto object = AddCounting(builder_, 0, 0, 10000);
    object->SetRange(0, 1);

    EXPECT_EQ(rig_.Render(builder_, object, 9000, 500)[499], Frame(9499, -20501));
}

TEST_F(ObjectRender, ScalesTheInPointBySpeedToo) {
    const Samples source = Noise(200000, 1);
    const auto object = builder_.AddObject(builder_.AddMedia(source), 100, 200, 50);
    EXPECT_EQ(rig_.Render(builder_, object, 192000, 1)[0].first, source[2 * 96000]);

    object->Animation().SetStaticValue("speed", 2.0);

    // The read starts at source sample 192000, 64 frames of margin before it.
    Samples expected(2 * 100);
    sonrel::reference::ResampleStereo(48000, 2.0, source.data() + 2 * (192000 - 64), 64, 200 + 128,
                                      expected.data(), 100);
    EXPECT_EQ(rig_.Render(builder_, object, 192000, 100).Valid(), expected);
}

TEST_F(ObjectRender, RoundsTheObjectsStartAndCutsTheInPoint) {
    // 48000 / 29.97 is 1601.6.
    ProjectBuilder builder({29.97, 48000, 250});
    const auto placed = AddCounting(builder, 1, 0);
    EXPECT_EQ(rig_.Render(builder, placed, 1602, 1)[0].first, 0);
    EXPECT_EQ(rig_.Render(builder, placed, 1601, 1).result, -1);

    const auto trimmed = AddCounting(builder, 0, 1);
    EXPECT_EQ(rig_.Render(builder, trimmed, 0, 1)[0].first, 1601);
}

TEST_F(ObjectRender, ComputesTheInPointFromItsSeconds) {
    // 29 / 25 * 48000 is 55679.99999999999 in this order; the start of the same frame is 55680.
    const auto object = AddCounting(builder_, 29, 29, 60000);

    EXPECT_EQ(rig_.Render(builder_, object, 55680, 1)[0].first, 55679 & 0x7FFF);
}

TEST_F(ObjectRender, ComputesPositionsAtTheRequestedRate) {
    const auto object = AddCounting(builder_, 1, 1, 10000);
    std::vector<unsigned char> samples;

    // At 24000 Hz a frame has 960 samples.
    ASSERT_EQ(rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), object, 960, 10,
                                      24000, samples, zrtl::ZRID()),
              10);
    EXPECT_EQ(samples[0] | samples[1] << 8, 960);
}

TEST_F(ObjectRender, ReturnsAsManyFramesAsTheSourceHas) {
    const auto object = AddCounting(builder_, 0, 0, 700);

    const Rendered rendered = rig_.Render(builder_, object, 0, 1000);

    EXPECT_EQ(rendered.result, 700);
    EXPECT_EQ(rendered.Capacity(), 1000);
    EXPECT_EQ(rendered[699], Frame(699, -29301));
    EXPECT_EQ(rendered[700], Frame(0, 0));
    EXPECT_EQ(rendered[999], Frame(0, 0));
}

TEST_F(ObjectRender, ReturnsAllRequestedFramesAfterAnEffect) {
    const auto object = AddCounting(builder_, 0, 0, 700);
    const auto spy = std::make_shared<SpyEffect>();
    object->AddEffect(spy);

    const Rendered rendered = rig_.Render(builder_, object, 0, 1000);

    EXPECT_EQ(rendered.result, 1000);
    ASSERT_EQ(spy->processCalls.size(), 1u);
    EXPECT_EQ(spy->processCalls[0].inputCount, 700);
    EXPECT_EQ(spy->processCalls[0].outputCount, 1000);
    EXPECT_EQ(rendered[700], Frame(0, 0));
}

TEST_F(ObjectRender, WritesSilenceOverTheBytesOfTheVectorWhereTheSourceHasNothing) {
    const auto object = AddCounting(builder_, 0, 0, 700);
    std::vector<unsigned char> samples(4000, 0x77);

    rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), object, 0, 1000, 48000,
                            samples, zrtl::ZRID());

    EXPECT_EQ(std::count(samples.begin() + 2800, samples.end(), 0), 1200);
}

TEST_F(ObjectRender, KeepsTheBytesOfTheVectorAfterTheSource) {
    // The chain needs 10 frames of the source and room for 100; the bytes between keep
    // the values of the vector, and are zero where it had to grow.
    const auto object = AddCounting(builder_, 0, 0);
    const auto last = std::make_shared<SpyEffect>();
    const auto first = std::make_shared<SpyEffect>();
    object->AddEffect(first);
    object->AddEffect(last);
    last->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample + 100});
    };
    first->onRanges = [](const RangesCall& call, auto& ranges) {
        ranges.push_back({call.firstSample, call.firstSample + 10});
    };
    std::vector<unsigned char> seen;
    first->onProcess = [&](const ProcessCall&, short* values) {
        const auto* bytes = reinterpret_cast<unsigned char*>(values);
        seen.assign(bytes, bytes + 400);
    };
    std::vector<unsigned char> samples(200, 0x77);

    rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), object, 0, 20, 48000, samples,
                            zrtl::ZRID());

    EXPECT_EQ(samples.size(), 400u);
    EXPECT_EQ(seen[36] | seen[37] << 8, 9);
    EXPECT_EQ(seen[40], 0x77);
    EXPECT_EQ(seen[199], 0x77);
    EXPECT_EQ(seen[200], 0);
    EXPECT_EQ(seen[399], 0);
}

TEST_F(ObjectRender, ShrinksAndGrowsTheVectorToTheRequest) {
    const auto object = AddCounting(builder_, 0, 0);
    std::vector<unsigned char> samples(4000, 0x77);

    rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), object, 0, 10, 48000, samples,
                            zrtl::ZRID());
    EXPECT_EQ(samples.size(), 40u);
    rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), object, 0, 20, 48000, samples,
                            zrtl::ZRID());
    EXPECT_EQ(samples.size(), 80u);
}

TEST_F(ObjectRender, HasNothingAfterTheEndOfItsSource) {
    const auto object = AddCounting(builder_, 0, 0, 700);

    EXPECT_EQ(rig_.Render(builder_, object, 699, 10).result, 1);
    EXPECT_EQ(rig_.Render(builder_, object, 700, 10).result, -1);
    EXPECT_EQ(rig_.Render(builder_, object, LLONG_MAX, 10).result, -1);
}

TEST_F(ObjectRender, HasNothingWithoutConformedSamples) {
    const auto object = AddCounting(builder_, 0, 0);
    const auto media =
        std::static_pointer_cast<project::MediaAsset>(object->Asset(builder_.Project()->Assets()));
    media->AudioStream()->SetSamplesAvailable(false);

    EXPECT_EQ(rig_.Render(builder_, object, 0, 10).result, -1);
}

TEST_F(ObjectRender, HasNothingWithoutAnAudioStream) {
    const auto object = builder_.AddObject(builder_.AddSilentMedia(), 0, 10);

    EXPECT_EQ(rig_.Render(builder_, object, 0, 10).result, -1);
}

TEST_F(ObjectRender, HasNothingWhenTheObjectShowsNoAsset) {
    const auto gap = std::make_shared<project::GapAudioObject>();
    gap->SetRange(0, 10);
    builder_.AddTrack()->Objects().Add(gap);
    std::vector<unsigned char> samples(8, 0x77);

    EXPECT_EQ(rig_.Mixer().GetSamples(builder_.Project(), builder_.Sequence(), gap, 0, 10, 48000,
                                      samples, zrtl::ZRID()),
              -1);
    EXPECT_EQ(samples, std::vector<unsigned char>(8, 0x77));
}

TEST_F(ObjectRender, HasNothingWhenItsAssetIsNotInTheProject) {
    const auto object = AddCounting(builder_, 0, 0);
    object->SetAsset(zrtl::ZRID::Create());

    EXPECT_EQ(rig_.Render(builder_, object, 0, 10).result, -1);
}

TEST_F(ObjectRender, OfNoSamplesReturnsNone) {
    const auto object = AddCounting(builder_, 0, 0);

    const Rendered rendered = rig_.Render(builder_, object, 0, 0);

    EXPECT_EQ(rendered.result, 0);
    EXPECT_EQ(rendered.Capacity(), 0);
}

TEST_F(ObjectRender, OfLessThanNoSamplesHasNothing) {
    const auto object = AddCounting(builder_, 0, 0);

    EXPECT_EQ(rig_.Render(builder_, object, 0, -1).result, -1);
    EXPECT_EQ(rig_.Render(builder_, object, 0, INT_MIN).result, -1);
}

TEST_F(ObjectRender, IgnoresMuteLevelAndBalance) {
    const auto track = builder_.AddTrack();
    const auto object = builder_.AddObject(track, builder_.AddMedia(Counting(100)), 0, 10);
    object->SetMuted(true);
    object->Animation().SetStaticValue("audioLevel", -20.0f);
    track->SetMuted(true);
    track->Animation().SetStaticValue("stereoBalance", 1.0f);

    EXPECT_EQ(rig_.Render(builder_, object, 0, 100).Valid(), Counting(100));
}

TEST_F(ObjectRender, OfACompositionReturnsItsMix) {
    const auto composition = builder_.AddComposition({25.0, 48000, 2});
    builder_.AddLayer(composition, builder_.AddMedia(Counting(5000)), 0, 10);
    const auto object = builder_.AddObject(composition, 10, 20);

    const Rendered rendered = rig_.Render(builder_, object, 19200 + 3800, 100);

    // 40 samples are left of its 3840; the rest of the vector is silent.
    EXPECT_EQ(rendered.result, 40);
    EXPECT_EQ(rendered[39], Frame(3839, -26161));
    EXPECT_EQ(rendered[40], Frame(0, 0));
}

TEST_F(ObjectRender, SurvivesFrameRatesOfAnySize) {
    const auto object = AddCounting(builder_, 1 << 30, 1 << 30);

    for (const double frameRate : {1e-300, 1e-12, 1e-3, 1e12, 1e300}) {
        builder_.Sequence()->Settings().SetFrameRate(frameRate);
        for (const long long start : {LLONG_MIN, 0LL, 1LL << 40, LLONG_MAX}) {
            EXPECT_LE(rig_.Render(builder_, object, start, 10).result, 10);
        }
    }
}

}  // namespace
}  // namespace sonrel_tests
