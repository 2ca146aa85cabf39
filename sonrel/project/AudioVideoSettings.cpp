// SPDX-License-Identifier: MIT
#include "sonrel/project/AudioVideoSettings.h"

#include <cmath>
#include <stdexcept>

namespace orlo::project {

AudioVideoSettings::AudioVideoSettings() = default;
AudioVideoSettings::AudioVideoSettings(AudioVideoSettings const& source, int) {
    *this = source;
}

double AudioVideoSettings::FrameRate() const {
    return frameRate_;
}
int AudioVideoSettings::FrameCount() const {
    return frameCount_;
}
AudioSamplingRate AudioVideoSettings::AudioSampleRate() const {
    return rate_;
}

int AudioVideoSettings::AudioSampleRateValue(AudioSamplingRate rate) {
    switch (rate) {
        case AudioSamplingRate::Hz8000:
            return 8000;
        case AudioSamplingRate::Hz11025:
            return 11025;
        case AudioSamplingRate::Hz16000:
            return 16000;
        case AudioSamplingRate::Hz22050:
            return 22050;
        case AudioSamplingRate::Hz32000:
            return 32000;
        case AudioSamplingRate::Hz44100:
            return 44100;
        case AudioSamplingRate::Hz48000:
            return 48000;
        case AudioSamplingRate::Hz88200:
            return 88200;
        case AudioSamplingRate::Hz96000:
            return 96000;
        case AudioSamplingRate::Hz176400:
            return 176400;
        case AudioSamplingRate::Hz192000:
            return 192000;
        case AudioSamplingRate::Custom:
            break;
    }
    return 0;
}

int AudioVideoSettings::AudioSampleRateValue() const {
    return rate_ == AudioSamplingRate::Custom ? customRate_ : AudioSampleRateValue(rate_);
}

double AudioVideoSettings::MsPerFrame(double frameRate) {
    return 1000.0 / frameRate;
}

void AudioVideoSettings::SetFrameRate(double frameRate) {
    if (!std::isfinite(frameRate) || frameRate <= 0.0) {
        throw std::invalid_argument("a frame rate must be a finite number above 0");
    }
    frameRate_ = frameRate;
}

void AudioVideoSettings::SetFrameCount(int frameCount) {
    if (frameCount < 0) throw std::invalid_argument("a frame count must not be negative");
    frameCount_ = frameCount;
}

void AudioVideoSettings::SetAudioSampleRate(AudioSamplingRate rate) {
    if (AudioSampleRateValue(rate) == 0) {
        throw std::invalid_argument("this enumerator stands for no sampling rate");
    }
    rate_ = rate;
    customRate_ = 0;
}

void AudioVideoSettings::SetCustomAudioSampleRate(int hertz) {
    if (hertz <= 0) throw std::invalid_argument("a sampling rate must be above 0");
    for (int i = 0; i < static_cast<int>(AudioSamplingRate::Custom); ++i) {
        const auto rate = static_cast<AudioSamplingRate>(i);
        if (AudioSampleRateValue(rate) == hertz) return SetAudioSampleRate(rate);
    }
    rate_ = AudioSamplingRate::Custom;
    customRate_ = hertz;
}

}  // namespace orlo::project
