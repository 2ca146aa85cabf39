// SPDX-License-Identifier: MIT
// Play, skip, stop: their results in every state, and the state after them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

using Calls = std::vector<std::string>;

class PlaybackCommands : public testing::Test {
protected:
    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }

    /// Starts a run and waits until the ring is full.
    void StartRun(long long sample = 0, Direction direction = FORWARD, int speed = 1) {
        rig_.SetUpSequence();
        ASSERT_EQ(rig_.Play(sample, direction, speed), Err::NoError);
        ASSERT_TRUE(rig_.device.WaitForQueued(49));
    }

    PlaybackRig rig_;  // 250 frames of 1920 samples
};

TEST_F(PlaybackCommands, BeforeASetUpEveryCommandFails) {
    const auto held = std::make_shared<int>(0);
    bool ran = false;

    EXPECT_EQ(Playback().PlayFromSample(
                  0, FORWARD, 1, [held, &ran](void*) { ran = true; }, nullptr),
              Err::NotInitialized);
    EXPECT_EQ(Playback().PlayFromFrame(0, FORWARD, 1, nullptr, nullptr), Err::NotInitialized);
    EXPECT_EQ(Playback().PlayFrame(0), Err::NotInitialized);
    EXPECT_EQ(Playback().Stop(), Err::NotInitialized);
    EXPECT_EQ(Playback().SkipToFrame(0), Err::PlaybackFailed);
    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::NotPlaying);
    EXPECT_FALSE(Playback().IsPlaying());
    EXPECT_EQ(held.use_count(), 1) << "the completion callback is destroyed";
    EXPECT_FALSE(ran);
}

TEST_F(PlaybackCommands, ARunPlaysAfterPlay) {
    StartRun();

    EXPECT_TRUE(Playback().IsPlaying());
    EXPECT_TRUE(rig_.device.Started());
}

TEST_F(PlaybackCommands, TheWorkerHasAHeadStartOfFiftyMilliseconds) {
    rig_.engine->InitializePlaybackEngine();

    EXPECT_EQ(rig_.Impl().headStart, std::chrono::milliseconds(50));
}

TEST_F(PlaybackCommands, ASampleAtTheEndOrBelowZeroIsOutOfRangeAndStopsTheRun) {
    for (const long long sample : {480000LL, 480001LL, -1LL}) {
        StartRun();

        EXPECT_EQ(rig_.Play(sample), Err::OutOfRange);

        EXPECT_FALSE(Playback().IsPlaying());
        EXPECT_FALSE(rig_.device.Started());
    }
}

TEST_F(PlaybackCommands, TheFirstAndTheLastSampleArePlayed) {
    rig_.SetUpSequence();

    EXPECT_EQ(rig_.Play(0), Err::NoError);
    EXPECT_EQ(rig_.Play(479999), Err::NoError);
}

TEST_F(PlaybackCommands, AFrameBeginsAtItsRoundedSample) {
    rig_.builder.Sequence()->Settings().SetFrameRate(29.97);
    rig_.SetUpSequence();
    for (const auto& [frame, sample] : {std::pair(1, 1602), {2, 3203}, {3, 4805}, {5, 8008}}) {
        ASSERT_EQ(Playback().PlayFromFrame(frame, FORWARD, 1, nullptr, nullptr), Err::NoError);
        EXPECT_EQ(rig_.Impl().levels.StartSample(), sample);
    }
}

TEST_F(PlaybackCommands, AFrameOutsideIsOutOfRange) {
    rig_.SetUpSequence();

    EXPECT_EQ(Playback().PlayFromFrame(-1, FORWARD, 1, nullptr, nullptr), Err::OutOfRange);
    EXPECT_EQ(Playback().PlayFromFrame(250, FORWARD, 1, nullptr, nullptr), Err::OutOfRange);
    EXPECT_EQ(Playback().PlayFromFrame(249, FORWARD, 1, nullptr, nullptr), Err::NoError);
}

TEST_F(PlaybackCommands, ASpeedBelowOneIsOneAndAboveFourIsFour) {
    rig_.SetUpSequence();
    for (const auto& [asked, played] : {std::pair(0, 1), {-3, 1}, {1, 1}, {4, 4}, {5, 4}, {9, 4}}) {
        // A run that continues would add to the count.
        Playback().Stop();
        const std::size_t before = rig_.device.Submissions().size();
        ASSERT_EQ(rig_.Play(0, FORWARD, asked), Err::NoError);
        ASSERT_TRUE(rig_.device.WaitForSubmissions(before + 2));
        EXPECT_EQ(rig_.device.Submissions()[before + 1].firstSample, 1920 * played);
    }
}

TEST_F(PlaybackCommands, CompletionRunsOnceWithItsUserDataAfterTheLastBuffer) {
    std::vector<void*> completions;
    int user = 0;
    rig_.SetUpSequence();
    Playback().PlayFromFrame(
        248, FORWARD, 1, [&](void* data) { completions.push_back(data); }, &user);
    ASSERT_TRUE(rig_.device.WaitForQueued(2));

    rig_.device.PlayBuffer();
    EXPECT_TRUE(completions.empty());
    rig_.device.PlayBuffer();

    EXPECT_EQ(completions, std::vector<void*>{&user});
    EXPECT_TRUE(Eventually([&] { return !Playback().IsPlaying(); }));
}

TEST_F(PlaybackCommands, StopDoesNotComplete) {
    bool completed = false;
    rig_.SetUpSequence();
    Playback().PlayFromFrame(
        249, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    rig_.device.BeginBuffer();

    EXPECT_EQ(Playback().Stop(), Err::NoError);

    EXPECT_FALSE(completed);
    EXPECT_FALSE(Playback().IsPlaying());
}

TEST_F(PlaybackCommands, ACompletionMayBeEmpty) {
    rig_.SetUpSequence();
    rig_.Play(479999);

    EXPECT_TRUE(rig_.PlayToEnd());
}

TEST_F(PlaybackCommands, StopTwiceSucceedsAndNotifiesTwice) {
    SpyObserver observer;
    rig_.SetUpSequence();
    Playback().AddMeterObserver(&observer);

    EXPECT_EQ(Playback().Stop(), Err::NoError);
    EXPECT_EQ(Playback().Stop(), Err::NoError);

    EXPECT_EQ(observer.calls, (Calls{"stop", "stop"}));
}

TEST_F(PlaybackCommands, StopBeforeASetUpNotifiesToo) {
    SpyObserver observer;
    Playback().AddMeterObserver(&observer);

    EXPECT_EQ(Playback().Stop(), Err::NotInitialized);

    EXPECT_EQ(observer.calls, Calls{"stop"});
}

TEST_F(PlaybackCommands, StopReturnsWhileTheDeviceHoldsBackTheEndsOfDroppedBuffers) {
    StartRun();
    rig_.device.holdDropped = true;

    EXPECT_EQ(Playback().Stop(), Err::NoError);

    EXPECT_FALSE(rig_.Impl().worker.Exists());
    rig_.device.ReportDropped();
}

TEST_F(PlaybackCommands, StopReturnsWhenTheVoiceRefusesTheFlush) {
    StartRun();
    rig_.device.refuseFlush = true;

    EXPECT_EQ(Playback().Stop(), Err::NoError);

    EXPECT_FALSE(rig_.Impl().worker.Exists());
}

TEST_F(PlaybackCommands, AVoiceThatDoesNotStartLeavesTheWorkerToTheNextStop) {
    rig_.SetUpSequence();
    rig_.device.refuseStart = true;

    EXPECT_EQ(rig_.Play(0), Err::PlaybackFailed);

    EXPECT_FALSE(Playback().IsPlaying());
    EXPECT_TRUE(rig_.device.WaitForQueued(49));
    EXPECT_TRUE(rig_.Impl().worker.Exists());
    EXPECT_EQ(Playback().Stop(), Err::NoError);
    EXPECT_FALSE(rig_.Impl().worker.Exists());
}

TEST_F(PlaybackCommands, AnEngineWhoseVoiceDidNotStartCanBeReleased) {
    rig_.SetUpSequence();
    rig_.device.refuseStart = true;
    rig_.Play(0);

    rig_.engine->InitializePlaybackEngine();

    EXPECT_EQ(rig_.device.SourceVoicesOpen(), 0);
}

TEST_F(PlaybackCommands, AnEngineCanBeReleasedInTheMiddleOfARunAndAfterIt) {
    StartRun();
    rig_.engine->InitializePlaybackEngine();
    EXPECT_EQ(rig_.device.SourceVoicesOpen(), 0);

    rig_.SetUpSequence();
    rig_.Play(479999);
    ASSERT_TRUE(rig_.PlayToEnd());
    rig_.engine->InitializePlaybackEngine();
    EXPECT_EQ(rig_.device.MasteringVoicesOpen(), 0);
}

TEST_F(PlaybackCommands, SkipWithoutARunIsAFailureOfPlayback) {
    rig_.SetUpSequence();

    EXPECT_EQ(Playback().SkipToFrame(0), Err::PlaybackFailed);
}

TEST_F(PlaybackCommands, SkipKeepsDirectionSpeedAndCompletion) {
    int completions = 0;
    rig_.SetUpSequence();
    Playback().PlayFromFrame(
        200, REVERSE, 3, [&](void* count) { ++*static_cast<int*>(count); }, &completions);
    const std::size_t before = rig_.device.Submissions().size();

    EXPECT_EQ(Playback().SkipToFrame(5), Err::NoError);
    ASSERT_TRUE(rig_.PlayToEnd());

    EXPECT_EQ(completions, 1);
    const auto submissions = rig_.device.Submissions();
    ASSERT_GE(submissions.size(), 2u);
    EXPECT_EQ(submissions[submissions.size() - 2].firstSample, 5 * 1920);
    EXPECT_EQ(submissions.back().firstSample, 2 * 1920);
    EXPECT_GE(submissions.size(), before);
}

TEST_F(PlaybackCommands, SkipIsTwoStopsAndAStart) {
    SpyObserver observer;
    StartRun();
    Playback().AddMeterObserver(&observer);

    EXPECT_EQ(Playback().SkipToFrame(7), Err::NoError);

    EXPECT_EQ(observer.calls, (Calls{"stop", "stop", "start 100"}));
}

TEST_F(PlaybackCommands, SkipBeyondTheEndEndsTheRun) {
    StartRun();

    EXPECT_EQ(Playback().SkipToFrame(250), Err::OutOfRange);

    EXPECT_FALSE(Playback().IsPlaying());
}

TEST_F(PlaybackCommands, TheFrameIsNoneFromPlayToTheFirstBufferAndStaysAfterStop) {
    StartRun(96000);
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), NO_FRAME);

    rig_.device.BeginBuffer();
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), 50);
    rig_.device.EndBuffer();
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), 50);
    rig_.device.BeginBuffer();
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), 51);

    Playback().Stop();
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), 51);
    rig_.Play(0);
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), NO_FRAME);
}

TEST_F(PlaybackCommands, ADrainingRunStillPlays) {
    rig_.SetUpSequence();
    rig_.Play(479999);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    rig_.device.BeginBuffer();

    EXPECT_TRUE(Playback().IsPlaying());
    rig_.device.EndBuffer();

    EXPECT_TRUE(Eventually([&] { return !Playback().IsPlaying(); }));
    EXPECT_TRUE(rig_.device.Started()) << "the voice is stopped by the next command";
}

TEST_F(PlaybackCommands, AStopDuringTheDrainClearsPlaying) {
    rig_.SetUpSequence();
    rig_.Play(479999);
    ASSERT_TRUE(rig_.device.WaitForQueued(1));
    rig_.device.BeginBuffer();

    EXPECT_EQ(Playback().Stop(), Err::NoError);

    EXPECT_FALSE(Playback().IsPlaying());
}

TEST_F(PlaybackCommands, AReverseRunFromSampleZeroPlaysNothingUntilStop) {
    bool completed = false;
    rig_.SetUpSequence();
    // The worker has its head start, so that it ends before the run is marked as playing.
    rig_.Impl().headStart = std::chrono::milliseconds(50);

    EXPECT_EQ(Playback().PlayFromSample(
                  0, REVERSE, 1, [&](void*) { completed = true; }, nullptr),
              Err::NoError);

    EXPECT_TRUE(Playback().IsPlaying());
    EXPECT_EQ(rig_.device.Submissions().size(), 0u);
    EXPECT_FALSE(completed);
    EXPECT_EQ(Playback().FlushQueuedPlaybackSamples(), Err::NoError);
    EXPECT_EQ(Playback().Stop(), Err::NoError);
    EXPECT_FALSE(Playback().IsPlaying());
}

}  // namespace
}  // namespace sonrel_tests
