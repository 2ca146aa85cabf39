// SPDX-License-Identifier: MIT
// Making the engine and setting it up on a target.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "sonrel/playback/AudioOutput.h"
#include "sonrel/playback/detail/DeviceSetup.h"
#include "sonrel/playback/detail/TargetSetup.h"
#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

std::unique_ptr<project::MediaVideoStream> Picture(double frameRate, int frameCount) {
    return std::make_unique<project::MediaVideoStream>(frameRate, frameCount);
}

/// An engine before InitializePlaybackEngine, and a device maker that a test sets.
class PlaybackCreation : public testing::Test {
protected:
    ~PlaybackCreation() override { sonrel::SetAudioDeviceMaker({}); }

    void FailWith(const std::function<void()>& failure) {
        sonrel::SetAudioDeviceMaker([=, this] {
            failure();
            return device_.MakeEngine();
        });
    }

    FakeDevice device_;
    std::shared_ptr<sonrel::Sonrel> engine_ =
        sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog);
};

TEST_F(PlaybackCreation, ThereIsNoPlaybackEngineBeforeItIsAskedFor) {
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AWorkingDeviceGivesAPlaybackEngine) {
    FailWith([] {});

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::NoError);

    ASSERT_NE(engine_->Playback(), nullptr);
    EXPECT_FALSE(engine_->Playback()->IsInitialized());
    EXPECT_EQ(engine_->Playback()->InitializedType(), TargetType::None);
    EXPECT_EQ(engine_->Playback()->CurrentPlaybackVideoFrame(), NO_FRAME);
}

TEST_F(PlaybackCreation, AMissingSoundLibraryIsTwo) {
    FailWith([] { throw device::LibraryLoadError("not there"); });

    EXPECT_EQ(static_cast<int>(engine_->InitializePlaybackEngine()), 2);
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AnyOtherFailureOfTheDeviceIsThree) {
    FailWith([] { throw std::runtime_error("it is broken"); });

    EXPECT_EQ(static_cast<int>(engine_->InitializePlaybackEngine()), 3);
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, ADeviceThatRefusesTheThreadIsThree) {
    FailWith([this] { device_.refuseThread = true; });

    EXPECT_EQ(static_cast<int>(engine_->InitializePlaybackEngine()), 3);
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AnOutputFactoryThatGivesNothingIsThree) {
    sonrel::SetAudioOutputFactory([] { return nullptr; });

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::AudioEngineCreateFailed);
    sonrel::SetAudioOutputFactory({});
}

TEST_F(PlaybackCreation, ASecondCallMakesAnotherEngine) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    const std::weak_ptr<sonrel::PlaybackEngine> first = engine_->Playback();

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::NoError);

    EXPECT_TRUE(first.expired());
    EXPECT_NE(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AFailedSecondCallTakesTheFirstEngineAway) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    const std::weak_ptr<sonrel::PlaybackEngine> first = engine_->Playback();
    FailWith([] { throw std::runtime_error("it is broken"); });

    EXPECT_EQ(engine_->InitializePlaybackEngine(), Err::AudioEngineCreateFailed);

    EXPECT_TRUE(first.expired());
    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, AnEngineThatTheHostHoldsOutlivesASecondCall) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    const std::shared_ptr<sonrel::PlaybackEngine> first = engine_->Playback();

    engine_->InitializePlaybackEngine();

    EXPECT_NE(engine_->Playback(), first);
    EXPECT_EQ(first->CurrentPlaybackVideoFrame(), NO_FRAME);
}

TEST_F(PlaybackCreation, AResetWithoutAnEngineDoesNothing) {
    engine_->ResetPlaybackEngine();

    EXPECT_EQ(engine_->Playback(), nullptr);
}

TEST_F(PlaybackCreation, TheDeviceIsReleasedByTheThreadThatTookIt) {
    FailWith([] {});
    engine_->InitializePlaybackEngine();
    EXPECT_EQ(device_.ThreadsInUse(), 1);

    engine_.reset();

    EXPECT_EQ(device_.ThreadsInUse(), 0);
}

class PlaybackSetup : public testing::Test {
protected:
    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }
    Err SetUpMedia(const std::shared_ptr<project::MediaAsset>& asset) {
        return Playback().Initialize(rig_.builder.Project(), asset);
    }
    Err SetUpComposition(const std::shared_ptr<project::CompositionAsset>& composition) {
        return Playback().Initialize(rig_.builder.Project(), composition);
    }
    project::AudioVideoSettings& Settings() { return rig_.builder.Sequence()->Settings(); }

    PlaybackRig rig_;
};

TEST_F(PlaybackSetup, TheResultCodesHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(Err::NoError), 0);
    EXPECT_EQ(static_cast<int>(Err::AudioLibraryLoadFailed), 2);
    EXPECT_EQ(static_cast<int>(Err::AudioEngineCreateFailed), 3);
    EXPECT_EQ(static_cast<int>(Err::MasteringVoiceFailed), 4);
    EXPECT_EQ(static_cast<int>(Err::SourceVoiceFailed), 5);
    EXPECT_EQ(static_cast<int>(Err::NoMediaStream), 6);
    EXPECT_EQ(static_cast<int>(Err::UnsupportedChannelCount), 7);
    EXPECT_EQ(static_cast<int>(Err::UnsupportedSampleRate), 8);
    EXPECT_EQ(static_cast<int>(Err::NotInitialized), 10);
    EXPECT_EQ(static_cast<int>(Err::PlaybackFailed), 11);
    EXPECT_EQ(static_cast<int>(Err::Busy), 12);
    EXPECT_EQ(static_cast<int>(Err::NotPlaying), 13);
    EXPECT_EQ(static_cast<int>(Err::OutOfRange), 14);
    EXPECT_EQ(static_cast<int>(Err::FlushFailed), 18);
    EXPECT_EQ(sonrel::PlaybackEngine::NO_FRAME, -1);
    EXPECT_EQ(static_cast<int>(TargetType::Composition), 3);
    EXPECT_EQ(static_cast<int>(REVERSE), 1);
}

/// Whether a number is that of a result. The switch has no default: a result that is added to the
/// enumeration is a warning here.
bool IsResult(int number) {
    switch (static_cast<Err>(number)) {
        case Err::NoError:
        case Err::AudioLibraryLoadFailed:
        case Err::AudioEngineCreateFailed:
        case Err::MasteringVoiceFailed:
        case Err::SourceVoiceFailed:
        case Err::NoMediaStream:
        case Err::UnsupportedChannelCount:
        case Err::UnsupportedSampleRate:
        case Err::NotInitialized:
        case Err::PlaybackFailed:
        case Err::Busy:
        case Err::NotPlaying:
        case Err::OutOfRange:
        case Err::FlushFailed:
            return true;
    }
    return false;
}

TEST_F(PlaybackSetup, NoResultHasTheNumbers1And9And15To17) {
    for (const int number : {1, 9, 15, 16, 17}) EXPECT_FALSE(IsResult(number)) << number;
}

TEST_F(PlaybackSetup, ASequenceGivesRateLengthAndTracks) {
    rig_.builder.AddTrack();
    rig_.builder.AddTrack();
    Settings().SetFrameRate(29.97);

    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);

    EXPECT_TRUE(Playback().IsInitialized());
    EXPECT_EQ(Playback().InitializedType(), TargetType::Sequence);
    EXPECT_EQ(Playback().InitializedObjectID(), rig_.builder.Sequence()->ID());
    EXPECT_EQ(rig_.Impl().totalSamples, 400400);
    EXPECT_EQ(rig_.Impl().audioTrackCount, 2u);
    EXPECT_EQ(rig_.Impl().meterBlockSamples, 4800);
    EXPECT_EQ(rig_.device.LastRate(), 48000);
    EXPECT_EQ(rig_.Impl().frameBuffers.size(), 50u);
    EXPECT_EQ(rig_.Impl().frameBuffers[0]->SizeInBytes(), 1602u * 4);
}

TEST_F(PlaybackSetup, ACompositionHasNoTracksToMeter) {
    const auto composition = rig_.builder.AddComposition({30.0, 44100, 10});

    EXPECT_EQ(SetUpComposition(composition), Err::NoError);

    EXPECT_EQ(Playback().InitializedType(), TargetType::Composition);
    EXPECT_EQ(Playback().InitializedObjectID(), composition->ID());
    EXPECT_EQ(rig_.Impl().totalSamples, 14700);
    EXPECT_EQ(rig_.Impl().audioTrackCount, 0u);
    EXPECT_EQ(rig_.Impl().meterBlockSamples, 4410);
}

TEST_F(PlaybackSetup, AMediaAssetPlaysAtTheRateOfTheProject) {
    Settings().SetCustomAudioSampleRate(32000);
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    asset->AudioStream()->SetFrameRate(20.0);

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    EXPECT_EQ(Playback().InitializedType(), TargetType::MediaAsset);
    EXPECT_EQ(Playback().InitializedObjectID(), asset->ID());
    EXPECT_EQ(rig_.device.LastRate(), 32000);
    EXPECT_EQ(rig_.Impl().frameRate, 20.0);
    EXPECT_EQ(rig_.Impl().totalSamples, 1000);
    EXPECT_EQ(rig_.Impl().meterBlockSamples, 0);
}

TEST_F(PlaybackSetup, SoundWithAPictureTakesItsFrameRateAndKeepsItsOwnLength) {
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    asset->SetVideoStream(Picture(24.0, 500));

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    EXPECT_EQ(rig_.Impl().frameRate, 24.0);
    EXPECT_EQ(rig_.Impl().totalSamples, 1000);
}

TEST_F(PlaybackSetup, SoundThatIsNotConformedYetTakesTheLengthOfThePicture) {
    const auto asset = rig_.builder.AddMedia({});
    asset->SetVideoStream(Picture(24000.0 / 1001, 3));

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    // 2002 samples a frame, less what the division loses: cut to 6005, not 6006.
    EXPECT_EQ(rig_.Impl().totalSamples, 6005);
}

TEST_F(PlaybackSetup, APictureWithoutSoundHasItsOwnLength) {
    const auto asset = rig_.builder.AddSilentMedia();
    asset->SetVideoStream(Picture(25.0, 10));

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    EXPECT_EQ(rig_.Impl().totalSamples, 19200);
    EXPECT_EQ(rig_.Impl().frameRate, 25.0);
}

TEST_F(PlaybackSetup, AMediaAssetWithNeitherSoundNorPictureIsRefusedAndChangesNothing) {
    rig_.SetUpSequence();

    EXPECT_EQ(SetUpMedia(rig_.builder.AddSilentMedia()), Err::NoMediaStream);

    EXPECT_EQ(Playback().InitializedType(), TargetType::Sequence);
}

TEST_F(PlaybackSetup, EmptyPointersAreNotATarget) {
    EXPECT_EQ(Playback().Initialize(nullptr, rig_.builder.Sequence()), Err::NotInitialized);
    EXPECT_EQ(
        Playback().Initialize(rig_.builder.Project(), std::shared_ptr<project::EditorSequence>()),
        Err::NotInitialized);
    EXPECT_EQ(SetUpMedia(nullptr), Err::NotInitialized);
    EXPECT_EQ(SetUpComposition(nullptr), Err::NotInitialized);
}

TEST_F(PlaybackSetup, RatesOf8000And96000Pass) {
    Settings().SetCustomAudioSampleRate(8000);
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
    Settings().SetCustomAudioSampleRate(96000);
    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
}

TEST_F(PlaybackSetup, RatesOf7999And96001AreRefused) {
    for (const int rate : {7999, 96001, 1, 192000}) {
        Settings().SetCustomAudioSampleRate(rate);

        EXPECT_EQ(rig_.SetUpSequence(), Err::UnsupportedSampleRate);

        EXPECT_FALSE(Playback().IsInitialized());
        EXPECT_EQ(Playback().InitializedType(), TargetType::None);
    }
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 0);
}

TEST_F(PlaybackSetup, ARefusedRateLeavesARunRunning) {
    rig_.SetUpSequence();
    rig_.Play(0);
    Settings().SetCustomAudioSampleRate(96001);

    EXPECT_EQ(rig_.SetUpSequence(), Err::UnsupportedSampleRate);

    EXPECT_TRUE(rig_.device.Started());
    EXPECT_EQ(rig_.device.SourceVoicesOpen(), 1);
    EXPECT_TRUE(rig_.device.WaitForQueued(49));
    EXPECT_FALSE(Playback().IsPlaying()) << "the engine is not set up any more";
    EXPECT_EQ(Playback().Stop(), Err::NoError);
    EXPECT_FALSE(rig_.device.Started());
}

TEST_F(PlaybackSetup, AnyOtherChannelCountThanTwoIsRefusedBeforeAnythingIsTouched) {
    rig_.SetUpSequence();
    for (const int channels : {1, 6}) {
        rig_.Impl().channelCount = channels;

        EXPECT_EQ(sonrel::detail::ConfigureDevice(rig_.Impl()), Err::UnsupportedChannelCount);
    }
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 1);
}

TEST_F(PlaybackSetup, WithoutASoundDeviceTheMasteringVoiceFails) {
    rig_.device.refuseMasteringVoice = true;

    EXPECT_EQ(rig_.SetUpSequence(), Err::MasteringVoiceFailed);

    EXPECT_FALSE(Playback().IsInitialized());
    EXPECT_EQ(Playback().InitializedType(), TargetType::None);
    EXPECT_EQ(Playback().Stop(), Err::NotInitialized);
}

TEST_F(PlaybackSetup, ARefusedSourceVoiceLeavesTheMasteringVoiceOpen) {
    rig_.device.refuseSourceVoice = true;

    EXPECT_EQ(rig_.SetUpSequence(), Err::SourceVoiceFailed);

    EXPECT_FALSE(Playback().IsInitialized());
    EXPECT_EQ(rig_.device.MasteringVoicesOpen(), 1);
    EXPECT_EQ(Playback().Stop(), Err::NotInitialized);
    rig_.engine->InitializePlaybackEngine();
    EXPECT_EQ(rig_.device.MasteringVoicesOpen(), 0);
}

TEST_F(PlaybackSetup, TheMasteringVoiceIsMadeFirstAndDestroyedLast) {
    rig_.SetUpSequence();
    Settings().SetFrameCount(251);
    rig_.SetUpSequence();
    rig_.engine->InitializePlaybackEngine();

    EXPECT_EQ(rig_.device.VoiceOrder(),
              (std::vector<std::string>{"+mastering", "+source", "-source", "-mastering",
                                        "+mastering", "+source", "-source", "-mastering"}));
}

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

    EXPECT_EQ(rig_.Impl().audioTrackCount, 1u);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, AFrameRateWithinTheToleranceIsNoChangeOfAComposition) {
    const auto composition = rig_.builder.AddComposition({29.97, 48000, 0});
    SetUpComposition(composition);
    composition->Settings().SetFrameRate(29.97 * (1 + 1e-13));

    SetUpComposition(composition);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 1);

    composition->Settings().SetFrameRate(29.97 * (1 + 1e-11));
    SetUpComposition(composition);
    EXPECT_EQ(rig_.device.MasteringVoicesMade(), 2);
}

TEST_F(PlaybackSetup, AFrameRateWithinTheToleranceIsNoChangeOfASequence) {
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

TEST_F(PlaybackSetup, AMatchingTargetOfAnotherKindIsTakenForUnchanged) {
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

TEST_F(PlaybackSetup, RefreshOfATargetThatIsGoneIsRefused) {
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
    EXPECT_EQ(rig_.Impl().totalSamples, 900);

    SetUpComposition(composition);
    composition->Settings().SetFrameCount(1);
    EXPECT_EQ(Playback().Refresh(), Err::NoError);
    EXPECT_EQ(rig_.Impl().totalSamples, 1920);
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

TEST_F(PlaybackSetup, ANewSetUpEndsARunWithoutTellingAnyone) {
    SpyObserver observer;
    bool completed = false;
    rig_.SetUpSequence();
    Playback().AddMeterObserver(&observer);
    Playback().PlayFromSample(
        0, FORWARD, 1, [&](void*) { completed = true; }, nullptr);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    observer.calls.clear();
    Settings().SetFrameCount(1);

    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);

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
    Settings().SetFrameCount(1);

    rig_.SetUpSequence();

    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PlaybackSetup, AWorkerWhoseVoiceDidNotStartIsEndedByANewSetUp) {
    rig_.SetUpSequence();
    rig_.device.refuseStart = true;
    EXPECT_EQ(rig_.Play(0), Err::PlaybackFailed);
    EXPECT_TRUE(rig_.device.WaitForQueued(49)) << "the worker runs";
    Settings().SetFrameCount(1);

    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);

    EXPECT_FALSE(rig_.Impl().workerThread.joinable());
}

TEST_F(PlaybackSetup, AChangedTargetBuildsNewVoicesOnADeviceThatHasStoppedCallingBack) {
    rig_.SetUpSequence();
    rig_.Play(0);
    ASSERT_TRUE(rig_.device.WaitForQueued(49));
    rig_.device.holdDropped = true;
    Settings().SetFrameCount(1);

    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);

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
