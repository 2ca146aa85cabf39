// SPDX-License-Identifier: MIT
// The levels of the sound that is heard, and the notifications when they begin and end.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <string>
#include <vector>

#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

using Calls = std::vector<std::string>;

/// The value of every sample in one meter block of 4800 samples. Block 5 is the loudest.
short LevelOfBlock(int block) {
    return static_cast<short>(block == 5 ? 30000 : 1000 + 100 * block);
}

float PeakOfBlock(int block) {
    return static_cast<float>(LevelOfBlock(block)) / 32768.0f;
}

/// A sequence of 25 frames a second, so that a meter block is two and a half frames.
class PlaybackMetering : public testing::Test {
protected:
    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }

    void SetUpFrames(int frames) {
        rig_.builder.Sequence()->Settings().SetFrameCount(frames);
        rig_.builder.AddObject(rig_.builder.AddMedia(MakeSamples(
                                   192000, [](int n, int) { return LevelOfBlock(n / 4800); })),
                               0, 101);
        ASSERT_EQ(rig_.SetUpSequence(), Err::NoError);
        Playback().AddMeterObserver(&observer_);
    }
    /// Starts a run and waits until this many blocks are measured.
    void Play(long long sample, unsigned long long blocks, Direction direction = FORWARD,
              int speed = 1) {
        ASSERT_EQ(rig_.Play(sample, direction, speed), Err::NoError);
        ASSERT_TRUE(Eventually([&] { return rig_.engine->Mixer()->MeterBlockCount() == blocks; }));
    }
    /// Plays buffers until this one sounds.
    void HearFrame(int frame) {
        ASSERT_TRUE(Eventually([&] {
            if (Playback().CurrentPlaybackVideoFrame() == frame) return true;
            if (sounding_) rig_.device.EndBuffer();
            sounding_ = rig_.device.BeginBuffer();
            return Playback().CurrentPlaybackVideoFrame() == frame;
        }));
    }
    std::uint64_t LastBlock() { return rig_.Impl().levels.LastBlock(); }

    PlaybackRig rig_;
    SpyObserver observer_;
    bool sounding_ = false;
};

void ExpectEmpty(const sonrel::AudioMetrics& metrics) {
    EXPECT_TRUE(metrics.trackMetrics.empty());
    EXPECT_EQ(metrics.masterMetrics.sampleCount, 0);
    EXPECT_EQ(metrics.masterMetrics.peak[0], 0.0f);
    EXPECT_FALSE(metrics.masterMetrics.clipped[0]);
}

TEST_F(PlaybackMetering, BeforeTheFirstBufferSoundsThereAreNoLevels) {
    SetUpFrames(100);
    Play(0, 20);

    ExpectEmpty(Playback().CurrentPlaybackMetrics());
}

TEST_F(PlaybackMetering, TheLevelsBelongToTheFrameHeard) {
    SetUpFrames(100);
    Play(0, 20);

    HearFrame(0);
    const auto first = Playback().CurrentPlaybackMetrics();
    EXPECT_EQ(first.masterMetrics.sampleCount, 4800);
    EXPECT_FLOAT_EQ(first.masterMetrics.peak[0], PeakOfBlock(0));
    ASSERT_EQ(first.trackMetrics.size(), 1u);
    EXPECT_FLOAT_EQ(first.trackMetrics[0].peak[1], PeakOfBlock(0));

    HearFrame(2);  // 3840
    EXPECT_FLOAT_EQ(Playback().CurrentPlaybackMetrics().masterMetrics.peak[0], PeakOfBlock(0));
    HearFrame(3);  // 5760
    EXPECT_FLOAT_EQ(Playback().CurrentPlaybackMetrics().masterMetrics.peak[0], PeakOfBlock(1));
    EXPECT_EQ(LastBlock(), 1u);
}

TEST_F(PlaybackMetering, ALatePollMergesTheBlocksSinceTheLastPoll) {
    SetUpFrames(100);
    Play(0, 20);
    HearFrame(0);
    Playback().CurrentPlaybackMetrics();
    HearFrame(10);  // 19200, block 4
    Playback().CurrentPlaybackMetrics();
    ASSERT_EQ(LastBlock(), 4u);

    HearFrame(18);  // 34560, block 7
    const auto merged = Playback().CurrentPlaybackMetrics();

    EXPECT_EQ(merged.masterMetrics.sampleCount, 3 * 4800);
    EXPECT_FLOAT_EQ(merged.masterMetrics.peak[0], PeakOfBlock(5));
    ASSERT_EQ(merged.trackMetrics.size(), 1u);
    EXPECT_EQ(merged.trackMetrics[0].sampleCount, 3 * 4800);
    EXPECT_FLOAT_EQ(merged.trackMetrics[0].peak[0], PeakOfBlock(5));
    EXPECT_EQ(LastBlock(), 7u);
}

TEST_F(PlaybackMetering, OnlyTheFirstOfThreePollsAtOneFrameMerges) {
    SetUpFrames(100);
    Play(0, 20);
    HearFrame(18);

    EXPECT_EQ(Playback().CurrentPlaybackMetrics().masterMetrics.sampleCount, 7 * 4800);
    for (int poll = 0; poll < 2; ++poll) {
        const auto alone = Playback().CurrentPlaybackMetrics();
        EXPECT_EQ(alone.masterMetrics.sampleCount, 4800);
        EXPECT_FLOAT_EQ(alone.masterMetrics.peak[0], PeakOfBlock(7));
    }
}

TEST_F(PlaybackMetering, AClipInASkippedBlockIsNotLost) {
    SetUpFrames(100);
    rig_.builder.Sequence()->AudioMasterTrack()->Animation().SetStaticValue("audioLevel", 3.0f);
    Play(0, 20);
    HearFrame(10);
    EXPECT_FALSE(Playback().CurrentPlaybackMetrics().masterMetrics.clipped[0]);

    HearFrame(18);
    const auto merged = Playback().CurrentPlaybackMetrics();

    EXPECT_TRUE(merged.masterMetrics.clipped[0]);
    EXPECT_TRUE(merged.masterMetrics.clipped[1]);
    EXPECT_FALSE(merged.trackMetrics[0].clipped[0]) << "the track itself stays below full scale";
    EXPECT_FALSE(Playback().CurrentPlaybackMetrics().masterMetrics.clipped[0]);
}

TEST_F(PlaybackMetering, AnUnfinishedBlockReturnsTheBlockBeforeItAndIsNotRemembered) {
    SetUpFrames(4);  // 7680 samples: one block, and one short block
    Play(0, 1);

    HearFrame(3);  // 5760, block 1
    const auto metrics = Playback().CurrentPlaybackMetrics();

    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[0], PeakOfBlock(0));
    EXPECT_EQ(LastBlock(), 0u);
}

TEST_F(PlaybackMetering, APausePastTheEndOfTheMixLosesTheBlocksBetween) {
    SetUpFrames(9);  // 17280 samples: three blocks, and one short block
    Play(0, 3);
    HearFrame(0);
    Playback().CurrentPlaybackMetrics();

    HearFrame(8);  // 15360, block 3
    const auto metrics = Playback().CurrentPlaybackMetrics();

    EXPECT_EQ(metrics.masterMetrics.sampleCount, 4800);
    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[0], PeakOfBlock(2));
    EXPECT_EQ(LastBlock(), 0u);
}

TEST_F(PlaybackMetering, AReverseRunHasRisingBlockNumbers) {
    SetUpFrames(100);
    Play(96000, 20, REVERSE);  // metered in the order of mixing, from 96000 down

    std::uint64_t last = 0;
    for (int frame = 49; frame >= 30; frame -= 5) {
        HearFrame(frame);
        Playback().CurrentPlaybackMetrics();
        EXPECT_GE(LastBlock(), last);
        last = LastBlock();
    }
    EXPECT_EQ(last, 6u) << "frame 34 begins 30720 samples below the start";
}

TEST_F(PlaybackMetering, SpeedNeedsNoTermBecauseBothSidesCountSamplesOfTheTarget) {
    SetUpFrames(100);
    Play(0, 40, FORWARD, 2);
    HearFrame(10);

    Playback().CurrentPlaybackMetrics();

    EXPECT_EQ(LastBlock(), 4u);
}

TEST_F(PlaybackMetering, LevelsStayReadableAfterTheRun) {
    SetUpFrames(4);
    Play(0, 1);
    HearFrame(3);
    rig_.device.EndBuffer();

    // The end of the stream has made the rest a short block.
    const auto metrics = Playback().CurrentPlaybackMetrics();

    EXPECT_EQ(metrics.masterMetrics.sampleCount, 7680 - 4800);
    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[0], PeakOfBlock(1));
}

TEST_F(PlaybackMetering, ARunWithoutObserversHasNoLevels) {
    SetUpFrames(100);
    Playback().RemoveMeterObserver(&observer_);
    Play(0, 0);
    HearFrame(5);

    ExpectEmpty(Playback().CurrentPlaybackMetrics());
}

TEST_F(PlaybackMetering, AFlushRestartsTheBlocksWhereTheRunContinues) {
    SetUpFrames(100);
    Play(0, 20);
    HearFrame(18);
    Playback().CurrentPlaybackMetrics();
    auto flush =
        std::async(std::launch::async, [&] { return Playback().FlushQueuedPlaybackSamples(); });
    rig_.device.EndBuffer();
    while (flush.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
        rig_.device.PlayBuffer();
    }
    ASSERT_EQ(flush.get(), Err::NoError);

    EXPECT_EQ(rig_.Impl().levels.StartSample() % 1920, 0);
    EXPECT_GE(rig_.Impl().levels.StartSample(), 19 * 1920);
    EXPECT_EQ(LastBlock(), 0u);
}

TEST_F(PlaybackMetering, EachRunCountsItsBlocksFromItsStart) {
    SetUpFrames(100);
    Play(0, 20);
    HearFrame(18);
    Playback().CurrentPlaybackMetrics();
    ASSERT_EQ(LastBlock(), 7u);

    Playback().Stop();
    EXPECT_EQ(LastBlock(), 0u) << "by the stop";
    // A poll in the stop of the play command: the former frame is still the current frame.
    observer_.onStop = [&] { Playback().CurrentPlaybackMetrics(); };
    Play(96000, 20);
    EXPECT_EQ(LastBlock(), 0u) << "by the play command";
    EXPECT_EQ(rig_.Impl().playedSampleEnd, 0);
}

TEST_F(PlaybackMetering, TheMetersHaveStoppedWhenObserversAreCalledAtTheEndOfARun) {
    SetUpFrames(4);  // 7680 samples: one block, and one short block
    Play(0, 1);
    std::uint64_t blocks = 0;
    observer_.onStop = [&] { blocks = rig_.engine->Mixer()->MeterBlockCount(); };

    ASSERT_TRUE(rig_.PlayToEnd());

    EXPECT_EQ(blocks, 2u) << "the stop of the meters ends the short block";
}

TEST_F(PlaybackMetering, TheMetersHaveStoppedWhenObserversAreCalledByAStop) {
    SetUpFrames(4);
    Play(0, 1);
    ASSERT_TRUE(rig_.device.WaitForQueued(4));
    std::uint64_t blocks = 0;
    observer_.onStop = [&] { blocks = rig_.engine->Mixer()->MeterBlockCount(); };

    Playback().Stop();

    EXPECT_EQ(blocks, 2u);
}

TEST_F(PlaybackMetering, TheStartNotificationComesAfterTheVoiceStartsAndBeforeTheRunPlays) {
    bool started = false;
    bool playing = true;
    SetUpFrames(100);
    observer_.onStart = [&] {
        started = rig_.device.Started();
        playing = Playback().IsPlaying();
    };

    rig_.Play(0);

    EXPECT_EQ(observer_.calls, (Calls{"stop", "start 100"}));
    EXPECT_TRUE(started);
    EXPECT_FALSE(playing);
}

TEST_F(PlaybackMetering, AVoiceThatDoesNotStartNotifiesNobody) {
    SetUpFrames(100);
    rig_.device.refuseStart = true;

    rig_.Play(0);

    EXPECT_EQ(observer_.calls, Calls{"stop"});
}

TEST_F(PlaybackMetering, ObserversAreNotifiedBeforeTheCompletion) {
    SetUpFrames(1);
    Playback().PlayFromSample(
        0, FORWARD, 1, [&](void*) { observer_.calls.push_back("done"); }, nullptr);
    observer_.calls.clear();

    ASSERT_TRUE(rig_.PlayToEnd());

    EXPECT_EQ(observer_.calls, (Calls{"stop", "done"}));
}

TEST_F(PlaybackMetering, ObserversAreNotifiedInTheOrderOfAdding) {
    std::string order;
    SpyObserver second;
    SetUpFrames(1);
    observer_.onStop = [&] { order += "1"; };
    second.onStop = [&] { order += "2"; };
    Playback().AddMeterObserver(&second);

    rig_.Play(0);
    rig_.PlayToEnd();

    EXPECT_EQ(order, "1212");
}

TEST_F(PlaybackMetering, AnObserverThatIsAddedTwiceIsNotifiedTwiceAndRemovedOnce) {
    SetUpFrames(1);
    Playback().AddMeterObserver(&observer_);
    Playback().Stop();
    EXPECT_EQ(observer_.calls, (Calls{"stop", "stop"}));

    Playback().RemoveMeterObserver(&observer_);
    Playback().Stop();

    EXPECT_EQ(observer_.calls.size(), 2u);
}

TEST_F(PlaybackMetering, ANullObserverIsStoredLikeAnyOtherAndCanBeRemoved) {
    SetUpFrames(1);

    Playback().AddMeterObserver(nullptr);
    EXPECT_EQ(rig_.Impl().levels.List().size(), 2u);
    Playback().RemoveMeterObserver(nullptr);
    Playback().Stop();

    EXPECT_EQ(observer_.calls, Calls{"stop"});
}

TEST_F(PlaybackMetering, RemovingAnUnknownObserverChangesNothing) {
    SpyObserver other;
    SetUpFrames(1);

    Playback().RemoveMeterObserver(&other);
    Playback().Stop();

    EXPECT_EQ(observer_.calls, Calls{"stop"});
}

TEST_F(PlaybackMetering, AnObserverAddedDuringARunIsNotifiedOfAStopButNotOfItsEnd) {
    SpyObserver late;
    SetUpFrames(1);
    rig_.Play(0);
    Playback().AddMeterObserver(&late);

    ASSERT_TRUE(rig_.PlayToEnd());
    EXPECT_EQ(late.calls, Calls());
    Playback().Stop();

    EXPECT_EQ(late.calls, Calls{"stop"});
}

TEST_F(PlaybackMetering, AnObserverRemovedDuringARunIsStillNotifiedOfItsEnd) {
    SetUpFrames(1);
    rig_.Play(0);
    observer_.calls.clear();
    Playback().RemoveMeterObserver(&observer_);

    ASSERT_TRUE(rig_.PlayToEnd());

    EXPECT_EQ(observer_.calls, Calls{"stop"});
}

TEST_F(PlaybackMetering, AnObserverRemovedDuringARunIsNotNotifiedOfAStop) {
    SetUpFrames(100);
    rig_.Play(0);
    observer_.calls.clear();
    Playback().RemoveMeterObserver(&observer_);

    Playback().Stop();

    EXPECT_EQ(observer_.calls, Calls());
}

TEST_F(PlaybackMetering, AMediaAssetHasNoStartButANaturalEnd) {
    SetUpFrames(1);
    const auto asset = rig_.builder.AddMedia(Constant(1920, 1, 1));
    Playback().Initialize(rig_.builder.Project(), asset);

    rig_.Play(0);
    rig_.device.BeginBuffer();
    ExpectEmpty(Playback().CurrentPlaybackMetrics());
    Playback().Stop();
    EXPECT_EQ(observer_.calls, Calls());

    rig_.Play(0);
    ASSERT_TRUE(rig_.PlayToEnd());
    EXPECT_EQ(observer_.calls, Calls{"stop"});
}

TEST_F(PlaybackMetering, TheEndOfARunStopsASessionThatTheHostStarted) {
    SetUpFrames(1);
    Playback().RemoveMeterObserver(&observer_);
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    rig_.engine->Mixer()->StartMeterSession(1, 10);

    ASSERT_TRUE(rig_.PlayToEnd());

    unsigned char samples[80];
    rig_.engine->Mixer()->GetSamples(rig_.builder.Project(), rig_.builder.Sequence(), 0, 20,
                                     samples, 80, 0, 0);
    EXPECT_EQ(rig_.engine->Mixer()->MeterBlockCount(), 0u);
}

TEST_F(PlaybackMetering, ACompositionHasOnlyMasterLevels) {
    SetUpFrames(1);
    const auto composition = rig_.builder.AddComposition({25.0, 48000, 100});
    rig_.builder.AddLayer(composition, rig_.builder.AddMedia(Constant(192000, 16384, -16384)), 0,
                          100);
    Playback().Initialize(rig_.builder.Project(), composition);
    Play(0, 20);
    HearFrame(0);

    const auto metrics = Playback().CurrentPlaybackMetrics();

    EXPECT_TRUE(metrics.trackMetrics.empty());
    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[0], 0.5f);
    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[1], 0.5f);
}

}  // namespace
}  // namespace sonrel_tests
