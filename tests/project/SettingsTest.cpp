// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/project/AudioVideoSettings.h"
#include "sonrel/project/MediaVideoStream.h"

namespace {

using orlo::project::AudioSamplingRate;
using orlo::project::AudioVideoSettings;
using orlo::project::MediaVideoStream;

TEST(AudioVideoSettings, NewSettingsHave25FramesASecondNoLengthAnd48000Hertz) {
    const AudioVideoSettings settings;

    EXPECT_EQ(settings.FrameRate(), 25.0);
    EXPECT_EQ(settings.FrameCount(), 0);
    EXPECT_EQ(settings.AudioSampleRate(), AudioSamplingRate::Hz48000);
    EXPECT_EQ(settings.AudioSampleRateValue(), 48000);
}

TEST(AudioVideoSettings, EveryEnumeratorHasItsRateInHertz) {
    const std::pair<AudioSamplingRate, int> rates[] = {
        {AudioSamplingRate::Hz8000, 8000},     {AudioSamplingRate::Hz11025, 11025},
        {AudioSamplingRate::Hz16000, 16000},   {AudioSamplingRate::Hz22050, 22050},
        {AudioSamplingRate::Hz32000, 32000},   {AudioSamplingRate::Hz44100, 44100},
        {AudioSamplingRate::Hz48000, 48000},   {AudioSamplingRate::Hz88200, 88200},
        {AudioSamplingRate::Hz96000, 96000},   {AudioSamplingRate::Hz176400, 176400},
        {AudioSamplingRate::Hz192000, 192000}, {AudioSamplingRate::Custom, 0}};
    for (const auto& [rate, hertz] : rates) {
        EXPECT_EQ(AudioVideoSettings::AudioSampleRateValue(rate), hertz);
    }
    EXPECT_EQ(AudioVideoSettings::AudioSampleRateValue(static_cast<AudioSamplingRate>(99)), 0);
    EXPECT_EQ(AudioVideoSettings::AudioSampleRateValue(static_cast<AudioSamplingRate>(-1)), 0);
}

TEST(AudioVideoSettings, ARateWithoutAnEnumeratorIsStoredInHertz) {
    AudioVideoSettings settings;
    settings.SetCustomAudioSampleRate(96001);

    EXPECT_EQ(settings.AudioSampleRate(), AudioSamplingRate::Custom);
    EXPECT_EQ(settings.AudioSampleRateValue(), 96001);
    settings.SetCustomAudioSampleRate(1);
    EXPECT_EQ(settings.AudioSampleRateValue(), 1);
    settings.SetAudioSampleRate(AudioSamplingRate::Hz8000);
    EXPECT_EQ(settings.AudioSampleRateValue(), 8000);
}

TEST(AudioVideoSettings, ARateInHertzWithAnEnumeratorIsStoredAsTheEnumerator) {
    AudioVideoSettings settings;
    settings.SetCustomAudioSampleRate(44100);

    EXPECT_EQ(settings.AudioSampleRate(), AudioSamplingRate::Hz44100);
}

TEST(AudioVideoSettings, ImpossibleSettingsAreRefusedAndChangeNothing) {
    AudioVideoSettings settings;
    for (const double rate : {0.0, -25.0, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_THROW(settings.SetFrameRate(rate), std::invalid_argument) << rate;
    }
    EXPECT_THROW(settings.SetFrameCount(-1), std::invalid_argument);
    EXPECT_THROW(settings.SetCustomAudioSampleRate(0), std::invalid_argument);
    EXPECT_THROW(settings.SetCustomAudioSampleRate(-48000), std::invalid_argument);
    EXPECT_THROW(settings.SetAudioSampleRate(AudioSamplingRate::Custom), std::invalid_argument);
    EXPECT_THROW(settings.SetAudioSampleRate(static_cast<AudioSamplingRate>(99)),
                 std::invalid_argument);

    EXPECT_EQ(settings.FrameRate(), 25.0);
    EXPECT_EQ(settings.FrameCount(), 0);
    EXPECT_EQ(settings.AudioSampleRateValue(), 48000);
}

TEST(AudioVideoSettings, TheLimitsOfTheRangesAreAccepted) {
    AudioVideoSettings settings;
    settings.SetFrameRate(std::numeric_limits<double>::min());
    settings.SetFrameRate(1e9);
    settings.SetFrameCount(std::numeric_limits<int>::max());

    EXPECT_EQ(settings.FrameRate(), 1e9);
    EXPECT_EQ(settings.FrameCount(), std::numeric_limits<int>::max());
}

TEST(AudioVideoSettings, MillisecondsOfAFrameAreAThousandOverTheRate) {
    EXPECT_EQ(AudioVideoSettings::MsPerFrame(25.0), 40.0);
    EXPECT_EQ(AudioVideoSettings::MsPerFrame(30.0), 1000.0 / 30.0);
}

TEST(AudioVideoSettings, ACopyHasTheSameSettings) {
    AudioVideoSettings settings;
    settings.SetFrameRate(24.0);
    settings.SetFrameCount(7);
    settings.SetCustomAudioSampleRate(12345);

    const AudioVideoSettings copy(settings);

    EXPECT_EQ(copy.FrameRate(), 24.0);
    EXPECT_EQ(copy.FrameCount(), 7);
    EXPECT_EQ(copy.AudioSampleRateValue(), 12345);
}

TEST(AudioVideoSettings, AFrameCountOf0IsATotalOf0Samples) {
    const AudioVideoSettings settings;

    EXPECT_EQ(zrtl::TotalSamples(settings.FrameCount(), settings.AudioSampleRateValue(),
                                 settings.FrameRate()),
              0);
}

TEST(MediaVideoStream, KeepsItsRateAndLength) {
    const MediaVideoStream stream(29.97, 100);

    EXPECT_EQ(stream.FrameRate(), 29.97);
    EXPECT_EQ(stream.FrameCount(), 100);
}

TEST(MediaVideoStream, AnImpossibleRateOrLengthIsRefused) {
    EXPECT_THROW(MediaVideoStream(0.0, 1), std::invalid_argument);
    EXPECT_THROW(MediaVideoStream(std::nan(""), 1), std::invalid_argument);
    EXPECT_THROW(MediaVideoStream(25.0, -1), std::invalid_argument);
    EXPECT_NO_THROW(MediaVideoStream(25.0, 0));
}

}  // namespace
