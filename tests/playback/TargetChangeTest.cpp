// SPDX-License-Identifier: MIT
// Setting the playback engine up again: which differences are a change of the target, and the
// effect of a change.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "sonrel/playback/detail/PlaybackTarget.h"
#include "tests/playback/SetupRig.h"

namespace sonrel_tests {
namespace {

TEST_F(PlaybackSetup, AnUnchangedTargetKeepsItsVoices) {
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    EXPECT_EQ(Playback().Refresh(), Err::NoError);

    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 1);
}

TEST_F(PlaybackSetup, AnUnchangedTargetThatFailedIsNotTriedAgain) {
    rig_.device.refuseMasteringVoice = true;
    EXPECT_EQ(rig_.SetUpSequence(), Err::MasteringVoiceFailed);
    rig_.device.refuseMasteringVoice = false;

    EXPECT_EQ(rig_.SetUpSequence(), Err::MasteringVoiceFailed);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 1);

    Settings().SetFrameCount(251);
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
}

TEST_F(PlaybackSetup, LengthRateAndTracksAreChanges) {
    rig_.SetUpSequence();

    Settings().SetFrameCount(251);
    rig_.SetUpSequence();
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
    Settings().SetCustomAudioSampleRate(44100);
    rig_.SetUpSequence();
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 3);
    Settings().SetFrameRate(25.001);
    rig_.SetUpSequence();
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 4);
    EXPECT_EQ(rig_.device.MasteringVoicesOpen(), 1);
}

TEST_F(PlaybackSetup, ANewTrackIsAChangeThatRefreshPicksUp) {
    rig_.SetUpSequence();
    rig_.builder.AddTrack();

    EXPECT_EQ(Playback().Refresh(), Err::NoError);

    EXPECT_EQ(rig_.Impl().format.audioTrackCount, 1u);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, AFrameRateWithinTheToleranceDoesNotChangeAComposition) {
    const auto composition = rig_.builder.AddComposition({29.97, 48000, 0});
    SetUpComposition(composition);
    composition->Settings().SetFrameRate(29.97 * (1 + 1e-13));

    SetUpComposition(composition);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 1);

    composition->Settings().SetFrameRate(29.97 * (1 + 1e-11));
    SetUpComposition(composition);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, AFrameRateWithinTheToleranceDoesNotChangeASequence) {
    Settings().SetFrameCount(0);
    Settings().SetFrameRate(29.97);
    rig_.SetUpSequence();
    Settings().SetFrameRate(29.97 * (1 + 1e-13));

    rig_.SetUpSequence();
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 1);

    Settings().SetFrameRate(29.97 * (1 + 1e-11));
    rig_.SetUpSequence();
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, AnyOtherFrameRateIsAChangeOfAMediaAsset) {
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    asset->AudioStream()->SetFrameRate(29.97);
    SetUpMedia(asset);
    asset->AudioStream()->SetFrameRate(29.97 * (1 + 1e-13));

    SetUpMedia(asset);

    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, TheToleranceGrowsWithTheRatesPlusOne) {
    using sonrel::detail::FrameRatesAreClose;

    EXPECT_TRUE(FrameRatesAreClose(0.0, 1e-12));
    EXPECT_FALSE(FrameRatesAreClose(0.0, 1.1e-12));
    EXPECT_TRUE(FrameRatesAreClose(1e6, 1e6 + 9e-7));
    EXPECT_FALSE(FrameRatesAreClose(1e6, 1e6 + 1.1e-6));
}

TEST_F(PlaybackSetup, AMatchingTargetOfAnotherKindCountsAsUnchanged) {
    const auto composition = rig_.builder.AddComposition({});
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    EXPECT_EQ(SetUpComposition(composition), Err::NoError);

    // The sequence is still held and matches in all that is compared.
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);

    EXPECT_EQ(Playback().InitializedType(), TargetType::Composition);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, RefreshWithoutATargetIsRefused) {
    EXPECT_EQ(Playback().Refresh(), Err::NotInitialized);
}

TEST_F(PlaybackSetup, RefreshOfADeletedTargetIsRefused) {
    auto gone = std::make_shared<project::EditorSequence>();
    gone->Settings().SetFrameCount(10);
    Playback().Initialize(rig_.builder.Project(), gone);
    gone.reset();

    EXPECT_EQ(Playback().Refresh(), Err::NotInitialized);
    EXPECT_TRUE(Playback().InitializedObjectID().IsNull());
    EXPECT_TRUE(Playback().IsInitialized());
}

TEST_F(PlaybackSetup, RefreshWithoutTheProjectIsRefused) {
    auto gone = std::make_shared<project::Project>();
    gone->Sequence()->Settings().SetFrameCount(10);
    const auto sequence = gone->Sequence();
    Playback().Initialize(gone, sequence);
    gone.reset();

    EXPECT_EQ(Playback().Refresh(), Err::NotInitialized);
}

TEST_F(PlaybackSetup, RefreshWorksOnEveryKindOfTarget) {
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    const auto composition = rig_.builder.AddComposition({});

    SetUpMedia(asset);
    asset->AudioStream()->SetConformedSampleCount(900);
    EXPECT_EQ(Playback().Refresh(), Err::NoError);
    EXPECT_EQ(rig_.Impl().format.totalSamples, 900);

    SetUpComposition(composition);
    composition->Settings().SetFrameCount(1);
    EXPECT_EQ(Playback().Refresh(), Err::NoError);
    EXPECT_EQ(rig_.Impl().format.totalSamples, 1920);
}

TEST_F(PlaybackSetup, AResetForgetsTheTargetAndLeavesTheVoices) {
    rig_.SetUpSequence();

    rig_.engine->ResetPlaybackEngine();

    EXPECT_FALSE(Playback().IsInitialized());
    EXPECT_TRUE(Playback().InitializedObjectID().IsNull());
    EXPECT_EQ(rig_.Play(0), Err::NotInitialized);
    EXPECT_EQ(rig_.device.SourceVoicesOpen(), 1);
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, ANewSetUpStartsANewNoiseStream) {
    rig_.engine->Mixer()->SetDither(sonrel::DitherType::Triangular, 5);
    rig_.builder.AddObject(rig_.builder.AddMedia(Noise(1920, 9)), 0, 1)
        ->Animation()
        .SetStaticValue("audioLevel", -7.3f);
    Settings().SetFrameCount(1);
    rig_.SetUpSequence();
    rig_.Play(0);
    rig_.PlayToEnd();

    Settings().SetFrameCount(2);
    rig_.SetUpSequence();
    rig_.Play(0);
    rig_.PlayToEnd();

    const auto submissions = rig_.device.Submissions();
    ASSERT_EQ(submissions.size(), 3u);
    EXPECT_TRUE(submissions[0].samples == submissions[1].samples);
}

TEST_F(PlaybackSetup, ANewSetUpEndsARunWithoutNotifications) {
    SpyObserver observer;
    bool completed = false;
    rig_.SetUpSequence();
    Playback().AddMeterObserver(&observer);
    Playback().PlayFromSample(
        0, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    observer.calls.clear();

    EXPECT_EQ(SetUpAnother(), Err::NoError);

    EXPECT_FALSE(Playback().IsPlaying());
    EXPECT_EQ(observer.calls, std::vector<std::string>());
    EXPECT_FALSE(completed);
}

TEST_F(PlaybackSetup, ANewSetUpDropsTheCompletionCallback) {
    const auto held = std::make_shared<int>(0);
    rig_.SetUpSequence();
    Playback().PlayFromSample(
        0, FORWARD, 1, [held](void*) {}, nullptr);
    EXPECT_EQ(held.use_count(), 2);

    SetUpAnother();

    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PlaybackSetup, AWorkerWhoseVoiceDidNotStartIsEndedByANewSetUp) {
    rig_.SetUpSequence();
    rig_.device.refuseStart = true;
    EXPECT_EQ(rig_.Play(0), Err::PlaybackFailed);
    EXPECT_TRUE(rig_.device.WaitForQueued(49)) << "the worker runs";

    EXPECT_EQ(SetUpAnother(), Err::NoError);

    EXPECT_FALSE(rig_.Impl().worker.Exists());
}

TEST_F(PlaybackSetup, AChangedTargetBuildsNewVoicesOnADeviceThatHasStoppedCallingBack) {
    rig_.SetUpSequence();
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    rig_.device.holdDropped = true;

    EXPECT_EQ(SetUpAnother(), Err::NoError);

    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
    EXPECT_EQ(rig_.device.SourceVoicesMade(), 2);
    EXPECT_EQ(rig_.device.SourceVoicesOpen(), 1);
    rig_.device.holdDropped = false;
    EXPECT_EQ(rig_.Play(0), Err::NoError);
    EXPECT_TRUE(rig_.PlayToEnd());
}

TEST_F(PlaybackSetup, AFrameOfMoreThanAnHourThrowsAndLeavesTheEngineWithoutATarget) {
    Settings().SetFrameCount(0);
    for (const double frameRate : {1e-300, 1e-4}) {
        Settings().SetFrameRate(frameRate);
        EXPECT_THROW(rig_.SetUpSequence(), std::length_error);
    }

    EXPECT_FALSE(Playback().IsInitialized());
    EXPECT_EQ(rig_.SetUpSequence(), Err::NotInitialized);
    EXPECT_EQ(Playback().Stop(), Err::NoError);
}

}  // namespace
}  // namespace sonrel_tests
