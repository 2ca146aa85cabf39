// SPDX-License-Identifier: MIT
// The values that the mix feeds to the meters of tracks and master.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/MixRig.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {
namespace {

// -8192 and 16384 are a quarter and half of full scale.
class MeteredMix : public ::testing::Test {
protected:
    std::shared_ptr<project::AudioTrack> AddTrack(short left, short right, int frames = 20000) {
        const auto track = builder_.AddTrack();
        builder_.AddObject(track, builder_.AddMedia(Constant(frames, left, right)), 0, 100);
        return track;
    }
    void Start(int blockFrames) {
        rig_.Mixer().StartMeterSession(builder_.Sequence()->AudioTracks().size(), blockFrames);
    }
    sonrel::AudioMetrics Block(unsigned long long index) {
        return rig_.Mixer().MetricsForBlock(index);
    }

    ProjectBuilder builder_;
    MixRig rig_;
};

void ExpectMetrics(const sonrel::AudioTrackMetrics& metrics, int sampleCount, float left,
                   float right, bool leftClipped = false, bool rightClipped = false) {
    EXPECT_EQ(metrics.sampleCount, sampleCount);
    EXPECT_EQ(metrics.peak[0], left);
    EXPECT_EQ(metrics.peak[1], right);
    EXPECT_EQ(metrics.clipped[0], leftClipped);
    EXPECT_EQ(metrics.clipped[1], rightClipped);
}

TEST_F(MeteredMix, FeedsEachTrackMeterItsTrackAndTheMasterTheSum) {
    AddTrack(-8192, 16384);
    AddTrack(16384, 16384);
    Start(100);

    rig_.Request(builder_, 0, 100);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 1u);
    ASSERT_EQ(Block(0).trackMetrics.size(), 2u);
    ExpectMetrics(Block(0).trackMetrics[0], 100, 0.25f, 0.5f);
    ExpectMetrics(Block(0).trackMetrics[1], 100, 0.5f, 0.5f);
    ExpectMetrics(Block(0).masterMetrics, 100, 0.25f, 1.0f, false, true);
}

TEST_F(MeteredMix, ShowsATrackAfterLevelAndBalance) {
    const auto track = AddTrack(-32768, -32768);
    track->Animation().SetStaticValue("audioLevel", -20.0f);
    track->Animation().SetStaticValue("stereoBalance", 0.5f);
    Start(100);

    rig_.Request(builder_, 0, 100);

    const float gain = std::pow(10.0f, -1.0f);
    ExpectMetrics(Block(0).trackMetrics[0], 100, gain * 0.5f, gain);
}

TEST_F(MeteredMix, FeedsTracksBeforeTheMasterLevelAndTheMasterAfterIt) {
    AddTrack(-32768, -32768);
    builder_.Sequence()->AudioMasterTrack()->Animation().SetStaticValue("audioLevel", -6.0f);
    Start(100);

    rig_.Request(builder_, 0, 100);

    ExpectMetrics(Block(0).trackMetrics[0], 100, 1.0f, 1.0f);
    ExpectMetrics(Block(0).masterMetrics, 100, 0.501187205f, 0.501187205f);
}

TEST_F(MeteredMix, FeedsTheMasterValuesThatTheConversionClips) {
    AddTrack(30000, -30000);
    AddTrack(30000, -30000);
    Start(100);

    const Mix mix = rig_.Request(builder_, 0, 100);

    EXPECT_EQ(mix[0].first, 32767);
    ExpectMetrics(Block(0).masterMetrics, 100, 60000 / 32768.0f, 60000 / 32768.0f, true, true);
}

TEST_F(MeteredMix, ShowsTheMasterNoDither) {
    AddTrack(8192, 8192);
    rig_.Mixer().SetDither(sonrel::DitherType::Triangular, 1);
    Start(FRAME);

    rig_.Request(builder_, 0, FRAME);

    ExpectMetrics(Block(0).masterMetrics, FRAME, 0.25f, 0.25f);
}

TEST_F(MeteredMix, ShowsSilentTracksAsSilenceOfTheSameLength) {
    AddTrack(8192, 8192)->SetSolo(true);
    AddTrack(8192, 8192);  // not solo
    const auto muted = AddTrack(8192, 8192);
    muted->SetSolo(true);
    muted->SetMuted(true);
    const auto mutedObject = AddTrack(8192, 8192);
    mutedObject->SetSolo(true);
    std::static_pointer_cast<project::AudioObject>(mutedObject->Objects().All()[0])->SetMuted(true);
    builder_.AddTrack()->SetSolo(true);       // no object
    const auto unread = builder_.AddTrack();  // nothing to render
    unread->SetSolo(true);
    builder_.AddObject(unread, builder_.AddSilentMedia(), 0, 100);
    Start(100);

    rig_.Request(builder_, 0, 250);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
    const sonrel::AudioMetrics block = Block(1);
    ExpectMetrics(block.trackMetrics[0], 100, 0.25f, 0.25f);
    for (std::size_t i = 1; i < 6; ++i) ExpectMetrics(block.trackMetrics[i], 100, 0.0f, 0.0f);
    ExpectMetrics(block.masterMetrics, 100, 0.25f, 0.25f);
}

TEST_F(MeteredMix, ShowsTheRestOfAPartlyReadObjectAsSilence) {
    AddTrack(8192, 8192, 700);
    Start(1000);

    rig_.Request(builder_, 0, 1000);
    rig_.Request(builder_, 0, 1000);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
    ExpectMetrics(Block(1).trackMetrics[0], 1000, 0.25f, 0.25f);
}

TEST_F(MeteredMix, CountsTheSilenceAfterAPartlyReadObject) {
    AddTrack(8192, 8192, 700);
    Start(100);

    rig_.Request(builder_, 0, 1000);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 10u);
    ExpectMetrics(Block(6).trackMetrics[0], 100, 0.25f, 0.25f);
    ExpectMetrics(Block(7).trackMetrics[0], 100, 0.0f, 0.0f);
    ExpectMetrics(Block(9).trackMetrics[0], 100, 0.0f, 0.0f);
}

TEST_F(MeteredMix, CutsItsBlocksAcrossRequestsAndMixBlocks) {
    AddTrack(8192, 8192);
    Start(1000);

    rig_.Request(builder_, 0, 4500);
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 4u);
    rig_.Request(builder_, 4500, 500);
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 5u);
}

TEST_F(MeteredMix, OfAnEmptySequenceShowsTheMasterSilence) {
    rig_.Mixer().StartMeterSession(0, 100);

    EXPECT_EQ(rig_.Request(builder_, 0, 100).result, 100);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 1u);
    EXPECT_TRUE(Block(0).trackMetrics.empty());
    ExpectMetrics(Block(0).masterMetrics, 100, 0.0f, 0.0f);
}

TEST_F(MeteredMix, OfAnEmptySequenceDrawsItsNoiseAllTheSame) {
    // Silence takes one draw a sample: the tone after 100 frames of it has the noise that comes
    // after 100 frames of the tone.
    AddTrack(1000, 1000);
    rig_.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 7);
    rig_.Request(builder_, 0, 100);
    const Mix expected = rig_.Request(builder_, 0, 500);
    const auto empty = std::make_shared<project::EditorSequence>();
    Apply({25.0, 48000, 100}, empty->Settings());
    rig_.Mixer().StartMeterSession(0, 100);
    rig_.Mixer().ResetMixSession();

    const Mix silence = rig_.Request(builder_.Project(), empty, 0, 100);

    EXPECT_EQ(silence.buffer.Values(), Samples(200, 0));
    EXPECT_EQ(rig_.Request(builder_, 0, 500).buffer.Values(), expected.buffer.Values());
}

TEST_F(MeteredMix, ReturnsTheSameSamplesAsAMixWithoutMeters) {
    const auto track = builder_.AddTrack();
    const auto object = builder_.AddObject(track, builder_.AddMedia(Noise(9000, 1)), 0, 100);
    object->Animation().SetKeyframe("audioLevel", 0, -1.0f);
    object->Animation().SetKeyframe("audioLevel", 200, 3.0f);
    track->Animation().SetStaticValue("stereoBalance", -0.3f);
    rig_.Mixer().SetDither(sonrel::DitherType::HighPassTriangular, 3);
    const Mix plain = rig_.Request(builder_, 0, 9600);

    Start(100);
    rig_.Mixer().ResetMixSession();
    const Mix metered = rig_.Request(builder_, 0, 9600);

    EXPECT_EQ(metered.buffer.Values(), plain.buffer.Values());
}

TEST_F(MeteredMix, FeedsNothingBeforeItsSessionAndAfterIt) {
    AddTrack(8192, 8192);
    rig_.Request(builder_, 0, 500);
    Start(100);
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);

    rig_.Request(builder_, 0, 250);
    rig_.Mixer().StopMeterSession();
    rig_.Request(builder_, 0, 500);

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 3u);
    EXPECT_EQ(Block(2).trackMetrics[0].sampleCount, 50);
}

TEST_F(MeteredMix, DropsItsBlocksWhenItRestarts) {
    AddTrack(8192, 8192);
    Start(100);
    rig_.Request(builder_, 0, 250);

    rig_.Mixer().RestartMeterSession();
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);
    rig_.Request(builder_, 0, 100);

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 1u);
    ExpectMetrics(Block(0).trackMetrics[0], 100, 0.25f, 0.25f);
}

TEST_F(MeteredMix, WithoutABlockLengthStartsNoMeter) {
    AddTrack(8192, 8192);
    Start(0);

    EXPECT_EQ(rig_.Request(builder_, 0, 500)[0].first, 8192);

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);
    rig_.Mixer().StopMeterSession();
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);
}

TEST_F(MeteredMix, HasNoMeterForATrackThatCameAfterTheSessionsStart) {
    AddTrack(8192, 8192);
    Start(100);
    AddTrack(16384, 16384);

    EXPECT_EQ(rig_.Request(builder_, 0, 100)[0].first, 24576);

    ASSERT_EQ(Block(0).trackMetrics.size(), 1u);
    ExpectMetrics(Block(0).trackMetrics[0], 100, 0.25f, 0.25f);
    ExpectMetrics(Block(0).masterMetrics, 100, 0.75f, 0.75f);
}

TEST_F(MeteredMix, ShowsATrackThatWasRemovedAsSilence) {
    for (int i = 0; i < 3; ++i) AddTrack(8192, 8192);
    Start(100);
    builder_.Sequence()->RemoveAudioTrack(2);

    rig_.Request(builder_, 0, 250);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
    ASSERT_EQ(Block(1).trackMetrics.size(), 3u);
    ExpectMetrics(Block(1).trackMetrics[1], 100, 0.25f, 0.25f);
    ExpectMetrics(Block(1).trackMetrics[2], 100, 0.0f, 0.0f);
    rig_.Mixer().StopMeterSession();
    ExpectMetrics(Block(2).trackMetrics[2], 50, 0.0f, 0.0f);
}

TEST_F(MeteredMix, ShowsTheTracksOfACompositionMixAsEmptyRecords) {
    AddTrack(8192, 8192);
    const auto composition = builder_.AddComposition({25.0, 48000, 10});
    builder_.AddLayer(composition, builder_.AddMedia(Constant(2000, 16384, 16384)), 0, 10);
    Start(100);

    rig_.Request(builder_.Project(), composition, 0, 100);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 1u);
    ASSERT_EQ(Block(0).trackMetrics.size(), 1u);
    ExpectMetrics(Block(0).trackMetrics[0], 0, 0.0f, 0.0f);
    ExpectMetrics(Block(0).masterMetrics, 100, 0.5f, 0.5f);
}

TEST_F(MeteredMix, ShowsABlockThatDoesNotExistAsEmptyRecords) {
    AddTrack(8192, 8192);
    ExpectMetrics(Block(0).masterMetrics, 0, 0.0f, 0.0f);
    EXPECT_TRUE(Block(0).trackMetrics.empty());
    Start(100);
    rig_.Request(builder_, 0, 250);

    for (const unsigned long long index : {2ull, 3ull, ~0ull}) {
        const sonrel::AudioMetrics block = Block(index);
        ASSERT_EQ(block.trackMetrics.size(), 1u);
        ExpectMetrics(block.trackMetrics[0], 0, 0.0f, 0.0f);
        ExpectMetrics(block.masterMetrics, 0, 0.0f, 0.0f);
    }
}

TEST_F(MeteredMix, MergesBlocksIntoOne) {
    AddTrack(8192, -8192, 100);  // silent from block 1 on
    const auto loud = builder_.AddTrack();
    builder_.AddObject(loud,
                       builder_.AddMedia(MakeSamples(1000,
                                                     [](int frame, int channel) {
                                                         if (frame < 200) return 0;
                                                         return channel == 0 ? 16384 : -32768;
                                                     })),
                       0, 100);
    Start(100);
    rig_.Request(builder_, 0, 350);

    const sonrel::AudioMetrics merged = rig_.Mixer().MetricsForBlocks(0, 2);

    ASSERT_EQ(merged.trackMetrics.size(), 2u);
    ExpectMetrics(merged.trackMetrics[0], 300, 0.25f, 0.25f);
    ExpectMetrics(merged.trackMetrics[1], 300, 0.5f, 1.0f);
    ExpectMetrics(merged.masterMetrics, 300, 0.5f, 1.0f);
    EXPECT_EQ(rig_.Mixer().MetricsForBlocks(1, 1).trackMetrics[1].peak[0], 0.0f);
    EXPECT_EQ(rig_.Mixer().MetricsForBlocks(1, ~0ull).masterMetrics.sampleCount, 200);
    EXPECT_EQ(rig_.Mixer().MetricsForBlocks(2, 1).masterMetrics.sampleCount, 0);
}

TEST_F(MeteredMix, ReplacesTheMetersForAnotherNumberOfTracks) {
    AddTrack(8192, 8192);
    AddTrack(16384, 16384);
    AddTrack(16384, 16384);
    Start(100);
    rig_.Request(builder_, 0, 100);
    EXPECT_EQ(Block(0).trackMetrics.size(), 3u);

    rig_.Mixer().StartMeterSession(0, 100);
    rig_.Request(builder_, 0, 100);

    EXPECT_TRUE(Block(0).trackMetrics.empty());
}

TEST_F(MeteredMix, TakesASessionThatStartsDuringABlockFromTheNextBlockOn) {
    const auto spy = std::make_shared<SpyEffect>();
    builder_.AddObject(builder_.AddMedia(Constant(9000, 8192, 8192)), 0, 100)->AddEffect(spy);
    bool started = false;
    spy->onProcess = [&](const ProcessCall&, short*) {
        if (!started) Start(FRAME);
        started = true;
    };

    rig_.Request(builder_, 0, 2 * FRAME);

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 1u);
    ExpectMetrics(Block(0).trackMetrics[0], FRAME, 0.25f, 0.25f);
}

// A start with another number of tracks replaces the meters that the running block feeds.
TEST_F(MeteredMix, FeedsNothingOfTheRunningBlockToASessionThatStartsWithinIt) {
    AddTrack(8192, 8192);
    const auto spy = std::make_shared<SpyEffect>();
    const auto media = builder_.AddMedia(Constant(9000, 8192, 8192));
    builder_.AddObject(builder_.AddTrack(), media, 0, 100)->AddEffect(spy);
    Start(FRAME);
    for (const unsigned long long tracks : {1ull, 2ull, 300ull}) {
        bool restarted = false;
        spy->onProcess = [&](const ProcessCall&, short*) {
            if (!restarted) rig_.Mixer().StartMeterSession(tracks, 100);
            restarted = true;
        };

        rig_.Request(builder_, 0, FRAME);
        EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);
        rig_.Request(builder_, 0, 150);
        rig_.Mixer().StopMeterSession();

        ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
        ASSERT_EQ(Block(1).trackMetrics.size(), tracks);
        for (const auto& track : Block(1).trackMetrics) EXPECT_EQ(track.sampleCount, 50);
        Start(FRAME);
    }
}

TEST_F(MeteredMix, FeedsNothingOfTheRunningBlockToASessionThatRestartsWithinIt) {
    AddTrack(8192, 8192);
    const auto spy = std::make_shared<SpyEffect>();
    const auto media = builder_.AddMedia(Constant(9000, 8192, 8192));
    builder_.AddObject(builder_.AddTrack(), media, 0, 100)->AddEffect(spy);
    Start(1000);
    rig_.Request(builder_, 0, 1500);
    spy->onProcess = [&](const ProcessCall&, short*) { rig_.Mixer().RestartMeterSession(); };
    rig_.Request(builder_, 0, 100);
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 0u);
    spy->onProcess = nullptr;

    rig_.Request(builder_, 0, 70);
    rig_.Mixer().StopMeterSession();

    ASSERT_EQ(rig_.Mixer().MeterBlockCount(), 1u);
    ExpectMetrics(Block(0).trackMetrics[0], 70, 0.25f, 0.25f);
    ExpectMetrics(Block(0).trackMetrics[1], 70, 0.25f, 0.25f);
    ExpectMetrics(Block(0).masterMetrics, 70, 0.5f, 0.5f);
}

TEST_F(MeteredMix, KeepsTheBlocksOfAStoppedSessionThroughARestart) {
    AddTrack(8192, 8192);
    Start(100);
    rig_.Request(builder_, 0, 150);
    rig_.Mixer().StopMeterSession();

    rig_.Mixer().RestartMeterSession();

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
    ExpectMetrics(Block(1).trackMetrics[0], 50, 0.25f, 0.25f);
}

TEST_F(MeteredMix, WithoutABlockLengthLeavesTheMetersThatRun) {
    AddTrack(8192, 8192);
    Start(100);
    rig_.Request(builder_, 0, 150);

    Start(0);
    rig_.Request(builder_, 0, 50);
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
    ExpectMetrics(Block(1).trackMetrics[0], 100, 0.25f, 0.25f);

    rig_.Mixer().StartMeterSession(2, 0);
    rig_.Request(builder_, 0, 100);
    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 3u);
    ASSERT_EQ(Block(2).trackMetrics.size(), 2u);
    ExpectMetrics(Block(2).trackMetrics[0], 0, 0.0f, 0.0f);
}

TEST_F(MeteredMix, StaysRunningThroughAResetOfTheMixSession) {
    AddTrack(8192, 8192);
    Start(100);
    rig_.Request(builder_, 0, 150);

    rig_.Mixer().ResetMixSession();
    rig_.Request(builder_, 0, 50);

    EXPECT_EQ(rig_.Mixer().MeterBlockCount(), 2u);
}

}  // namespace
}  // namespace sonrel_tests
