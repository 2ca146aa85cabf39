// SPDX-License-Identifier: MIT
// The single frame that a host lets sound while its user scrubs.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

using Calls = std::vector<std::string>;

/// A sequence of 10 frames of 1601.6 samples that counts its samples; a buffer holds 1602.
class PlayFrame : public testing::Test {
protected:
    PlayFrame() : rig_({29.97, 48000, 10}) {
        rig_.builder.AddObject(rig_.builder.AddMedia(Counting(17000)), 0, 10);
        EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    }

    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }

    /// The left value of a frame of the last submission, which is the position of the sample.
    int LeftOfLast(int frame) {
        return rig_.device.Submissions().back().samples[2 * static_cast<std::size_t>(frame)];
    }

    PlaybackRig rig_;
};

TEST_F(PlayFrame, IsOneBufferThatBeginsAtTheFirstSampleOfTheFrame) {
    EXPECT_EQ(Playback().PlayFrame(2), Err::NoError);

    const auto submissions = rig_.device.Submissions();
    ASSERT_EQ(submissions.size(), 1u);
    EXPECT_EQ(submissions[0].FrameCount(), 1602);
    EXPECT_TRUE(submissions[0].endOfStream);
    EXPECT_EQ(submissions[0].context, nullptr);
    EXPECT_EQ(LeftOfLast(0), 3203);
    EXPECT_EQ(LeftOfLast(1601), 3203 + 1601);
    EXPECT_TRUE(rig_.device.Started());
}

TEST_F(PlayFrame, IsNotARunAndKeepsTheReportedFrame) {
    Playback().PlayFrame(2);
    EXPECT_FALSE(Playback().IsPlaying());

    rig_.device.PlayBuffer();

    EXPECT_FALSE(Playback().IsPlaying());
    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), NO_FRAME);
    EXPECT_EQ(rig_.Impl().playedSampleEnd, 0);
}

TEST_F(PlayFrame, ABufferWithoutContextSignalsNothingAndMovesNothing) {
    rig_.Play(3 * 1602);
    ASSERT_TRUE(rig_.PlayToEnd());
    const int frame = Playback().CurrentPlaybackVideoFrame();
    const long long end = rig_.Impl().playedSampleEnd;
    Playback().PlayFrame(0);

    rig_.device.PlayBuffer();

    EXPECT_EQ(Playback().CurrentPlaybackVideoFrame(), frame);
    EXPECT_EQ(rig_.Impl().playedSampleEnd, end);
}

TEST_F(PlayFrame, DuringARunIsBusyAndTheRunContinues) {
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(10));

    EXPECT_EQ(Playback().PlayFrame(0), Err::Busy);

    EXPECT_TRUE(Playback().IsPlaying());
    EXPECT_TRUE(rig_.PlayToEnd());
    EXPECT_EQ(rig_.device.Heard().size(), 10u);
}

TEST_F(PlayFrame, DuringARunIsBusyForAnyFrame) {
    rig_.Play(0);

    EXPECT_EQ(Playback().PlayFrame(-1), Err::Busy);
}

TEST_F(PlayFrame, CutsOffTheFormerFrame) {
    Playback().PlayFrame(0);
    rig_.device.BeginBuffer();

    EXPECT_EQ(Playback().PlayFrame(1), Err::NoError);

    EXPECT_EQ(rig_.device.Queued(), 1u);
}

TEST_F(PlayFrame, IsBusyUntilTheDeviceHasReleasedTheFormerFrame) {
    Playback().PlayFrame(0);
    rig_.device.holdDropped = true;

    EXPECT_EQ(Playback().PlayFrame(1), Err::Busy);
    EXPECT_EQ(rig_.device.Submissions().size(), 1u);

    rig_.device.ReportDropped();
    EXPECT_EQ(Playback().PlayFrame(1), Err::NoError);
}

TEST_F(PlayFrame, BelowZeroIsOutOfRangeAndTouchesNothing) {
    Playback().PlayFrame(0);
    rig_.device.BeginBuffer();

    EXPECT_EQ(Playback().PlayFrame(-1), Err::OutOfRange);

    EXPECT_EQ(rig_.device.Queued(), 1u);
}

TEST_F(PlayFrame, BeyondTheEndIsOutOfRangeAfterTheFormerFrameWasCutOff) {
    const auto held = std::make_shared<int>(0);
    Playback().PlayFromFrame(
        9, FORWARD, 1, [held](void*) {}, nullptr);
    Playback().Stop();
    Playback().PlayFrame(0);
    rig_.device.BeginBuffer();

    EXPECT_EQ(Playback().PlayFrame(10), Err::OutOfRange);

    EXPECT_EQ(rig_.device.Queued(), 0u);
    EXPECT_FALSE(rig_.device.Started());
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PlayFrame, BeyondTheEndDropsTheCompletionOfTheFormerRun) {
    const auto held = std::make_shared<int>(0);
    Playback().PlayFromFrame(
        9, FORWARD, 1, [held](void*) {}, nullptr);
    Playback().Stop();
    EXPECT_EQ(held.use_count(), 2);

    EXPECT_EQ(Playback().PlayFrame(10), Err::OutOfRange);

    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PlayFrame, TheLastFrameKeepsTheFormerContentOfTheBufferAfterTheEnd) {
    // 4804 samples; the last frame begins at 3203, so that 1601 of 1602 samples are left.
    rig_.builder.Sequence()->Settings().SetFrameCount(3);
    rig_.SetUpSequence();
    Playback().PlayFrame(0);
    rig_.device.PlayBuffer();

    EXPECT_EQ(Playback().PlayFrame(2), Err::NoError);

    EXPECT_EQ(LeftOfLast(0), 3203);
    EXPECT_EQ(LeftOfLast(1600), 4803);
    EXPECT_EQ(LeftOfLast(1601), 1601);
}

TEST_F(PlayFrame, AfterAFastReverseRunPlaysForwardAtSpeedOne) {
    rig_.Play(16000, REVERSE, 4);
    Playback().Stop();

    Playback().PlayFrame(1);

    EXPECT_EQ(LeftOfLast(0), 1602);
    EXPECT_EQ(LeftOfLast(1), 1603);
}

TEST_F(PlayFrame, ARefusedBufferOrStartIsAFailureOfPlayback) {
    SpyObserver observer;
    Playback().AddMeterObserver(&observer);
    rig_.device.refuseSubmission = true;
    EXPECT_EQ(Playback().PlayFrame(0), Err::PlaybackFailed);

    rig_.device.refuseSubmission = false;
    rig_.device.refuseStart = true;
    EXPECT_EQ(Playback().PlayFrame(0), Err::PlaybackFailed);

    EXPECT_EQ(observer.calls, Calls());
}

TEST_F(PlayFrame, ObserversReceiveItsLevels) {
    SpyObserver observer;
    Playback().AddMeterObserver(&observer);

    EXPECT_EQ(Playback().PlayFrame(1), Err::NoError);

    EXPECT_EQ(observer.calls, Calls{"update"});
    const sonrel::AudioMetrics& metrics = observer.updates.at(0);
    ASSERT_EQ(metrics.trackMetrics.size(), 1u);
    EXPECT_EQ(metrics.masterMetrics.sampleCount, 1602);
    // The last sample is 3203, its right side 3203 - 30000; the largest right side is the first.
    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[0], 3203 / 32768.0f);
    EXPECT_FLOAT_EQ(metrics.masterMetrics.peak[1], (30000 - 1602) / 32768.0f);
    EXPECT_FLOAT_EQ(metrics.trackMetrics[0].peak[0], 3203 / 32768.0f);
}

TEST_F(PlayFrame, ObserversReceiveSilenceOfARemovedTrack) {
    SpyObserver observer;
    rig_.builder.AddTrack();
    rig_.builder.AddTrack();
    rig_.SetUpSequence();
    Playback().AddMeterObserver(&observer);
    rig_.builder.Sequence()->RemoveAudioTrack(2);

    EXPECT_EQ(Playback().PlayFrame(1), Err::NoError);

    const sonrel::AudioMetrics& metrics = observer.updates.at(0);
    ASSERT_EQ(metrics.trackMetrics.size(), 3u);
    EXPECT_FLOAT_EQ(metrics.trackMetrics[0].peak[0], 3203 / 32768.0f);
    EXPECT_EQ(metrics.trackMetrics[2].sampleCount, 1602);
    EXPECT_EQ(metrics.trackMetrics[2].peak[0], 0.0f);
}

TEST_F(PlayFrame, AtTenFramesASecondTheFullBlockIsBlockZero) {
    SpyObserver observer;
    rig_.builder.Sequence()->Settings().SetFrameRate(10.0);
    rig_.SetUpSequence();
    Playback().AddMeterObserver(&observer);

    Playback().PlayFrame(0);

    EXPECT_EQ(observer.updates.at(0).masterMetrics.sampleCount, 4800);
}

TEST_F(PlayFrame, ObserversReceiveEmptyLevelsWhenNothingCouldBeMixed) {
    SpyObserver observer;
    auto gone = std::make_shared<project::EditorSequence>();
    gone->Settings().SetFrameCount(10);
    Playback().Initialize(rig_.builder.Project(), gone);
    gone.reset();
    Playback().AddMeterObserver(&observer);

    EXPECT_EQ(Playback().PlayFrame(1), Err::NoError);

    ASSERT_EQ(observer.updates.size(), 1u);
    EXPECT_TRUE(observer.updates[0].trackMetrics.empty());
    EXPECT_EQ(observer.updates[0].masterMetrics.sampleCount, 0);
}

TEST_F(PlayFrame, OfAMediaAssetIsNotMetered) {
    SpyObserver observer;
    const auto asset = rig_.builder.AddMedia(Counting(17000));
    Playback().Initialize(rig_.builder.Project(), asset);
    Playback().AddMeterObserver(&observer);

    EXPECT_EQ(Playback().PlayFrame(1), Err::NoError);
    rig_.device.PlayBuffer();

    EXPECT_EQ(LeftOfLast(0), 1920) << "25 frames a second without a picture";
    EXPECT_EQ(observer.calls, Calls());
}

TEST_F(PlayFrame, ItsEndIsNotReported) {
    SpyObserver observer;
    bool completed = false;
    Playback().AddMeterObserver(&observer);
    Playback().PlayFromFrame(
        9, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
    Playback().Stop();
    observer.calls.clear();

    Playback().PlayFrame(0);
    rig_.device.PlayBuffer();

    EXPECT_EQ(observer.calls, Calls{"update"});
    EXPECT_FALSE(completed);
}

TEST_F(PlayFrame, ItsEndStopsTheMeters) {
    Playback().PlayFrame(0);
    rig_.engine->Mixer()->StartMeterSession(0, 10);

    rig_.device.PlayBuffer();

    unsigned char samples[80];
    rig_.engine->Mixer()->GetSamples(rig_.builder.Project(), rig_.builder.Sequence(), 0, 20,
                                     samples, 80, 0, 0);
    EXPECT_EQ(rig_.engine->Mixer()->MeterBlockCount(), 0u);
}

}  // namespace
}  // namespace sonrel_tests
