// SPDX-License-Identifier: MIT
// Setting the playback engine up on a target.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "sonrel/playback/detail/PlaybackTarget.h"
#include "tests/playback/SetupRig.h"

namespace sonrel_tests {
namespace {

std::unique_ptr<project::MediaVideoStream> Picture(double frameRate, int frameCount) {
    return std::make_unique<project::MediaVideoStream>(frameRate, frameCount);
}

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

TEST_F(PlaybackSetup, ASequenceSetsRateLengthAndTracks) {
    rig_.builder.AddTrack();
    rig_.builder.AddTrack();
    Settings().SetFrameRate(29.97);

    EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);

    EXPECT_TRUE(Playback().IsInitialized());
    EXPECT_EQ(Playback().InitializedType(), TargetType::Sequence);
    EXPECT_EQ(Playback().InitializedObjectID(), rig_.builder.Sequence()->ID());
    EXPECT_EQ(rig_.Impl().format.totalSamples, 400400);
    EXPECT_EQ(rig_.Impl().format.audioTrackCount, 2u);
    EXPECT_EQ(rig_.Impl().format.meterBlockSamples, 4800);
    EXPECT_EQ(rig_.device.LastRate(), 48000);
    EXPECT_EQ(rig_.Impl().voices.Buffers().size(), 50u);
    EXPECT_EQ(rig_.Impl().voices.Buffers()[0]->SizeInBytes(), 1602u * 4);
}

TEST_F(PlaybackSetup, ACompositionHasNoTracksToMeter) {
    const auto composition = rig_.builder.AddComposition({30.0, 44100, 10});

    EXPECT_EQ(SetUpComposition(composition), Err::NoError);

    EXPECT_EQ(Playback().InitializedType(), TargetType::Composition);
    EXPECT_EQ(Playback().InitializedObjectID(), composition->ID());
    EXPECT_EQ(rig_.Impl().format.totalSamples, 14700);
    EXPECT_EQ(rig_.Impl().format.audioTrackCount, 0u);
    EXPECT_EQ(rig_.Impl().format.meterBlockSamples, 4410);
}

TEST_F(PlaybackSetup, AMediaAssetPlaysAtTheRateOfTheProject) {
    Settings().SetCustomAudioSampleRate(32000);
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    asset->AudioStream()->SetFrameRate(20.0);

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    EXPECT_EQ(Playback().InitializedType(), TargetType::MediaAsset);
    EXPECT_EQ(Playback().InitializedObjectID(), asset->ID());
    EXPECT_EQ(rig_.device.LastRate(), 32000);
    EXPECT_EQ(rig_.Impl().format.frameRate, 20.0);
    EXPECT_EQ(rig_.Impl().format.totalSamples, 1000);
    EXPECT_EQ(rig_.Impl().format.meterBlockSamples, 0);
}

TEST_F(PlaybackSetup, SoundWithAPictureTakesItsFrameRateAndKeepsItsOwnLength) {
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    asset->SetVideoStream(Picture(24.0, 500));

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    EXPECT_EQ(rig_.Impl().format.frameRate, 24.0);
    EXPECT_EQ(rig_.Impl().format.totalSamples, 1000);
}

TEST_F(PlaybackSetup, SoundThatIsNotConformedYetTakesTheLengthOfThePicture) {
    const auto asset = rig_.builder.AddMedia({});
    asset->SetVideoStream(Picture(24000.0 / 1001, 3));

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    // 2002 samples a frame, minus a rounding error of the division: truncated to 6005, not 6006.
    EXPECT_EQ(rig_.Impl().format.totalSamples, 6005);
}

TEST_F(PlaybackSetup, MediaThatCannotBeReadAreSilentForTheWholeBlock) {
    const auto asset = rig_.builder.AddMedia(Counting(1000));
    asset->AudioStream()->SetSamplesAvailable(false);
    const sonrel::detail::PlaybackTarget target(rig_.builder.Project(), asset);
    std::vector<short> samples(2 * 100, 7);

    EXPECT_EQ(target.Mix(*rig_.engine->Mixer(), 0, 100, samples.data()), 100);

    EXPECT_EQ(samples, std::vector<short>(2 * 100, 0));
}

TEST_F(PlaybackSetup, APictureWithoutSoundHasItsOwnLength) {
    const auto asset = rig_.builder.AddSilentMedia();
    asset->SetVideoStream(Picture(25.0, 10));

    EXPECT_EQ(SetUpMedia(asset), Err::NoError);

    EXPECT_EQ(rig_.Impl().format.totalSamples, 19200);
    EXPECT_EQ(rig_.Impl().format.frameRate, 25.0);
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
    const ProjectBuilder refused(Format{.rate = 96001});
    rig_.SetUpSequence();
    rig_.Play(0);

    EXPECT_EQ(Playback().Initialize(refused.Project(), refused.Sequence()),
              Err::UnsupportedSampleRate);

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
        rig_.Impl().format.channelCount = channels;

        EXPECT_EQ(rig_.Impl().ConfigureDevice(), Err::UnsupportedChannelCount);
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

}  // namespace
}  // namespace sonrel_tests
