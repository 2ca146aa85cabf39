// SPDX-License-Identifier: MIT
#include "sonrel/project/AudioVideoSettings.h"

#include <cmath>
#include <stdexcept>

namespace orlo::project {

struct AudioVideoSettingsImpl {
    double frameRate = 25.0;
    int frameCount = 0;
    AudioSamplingRate rate = AudioSamplingRate::Hz48000;
    int customRate = 0;
};

AudioVideoSettings::AudioVideoSettings() : impl_(std::make_unique<AudioVideoSettingsImpl>()) {}
AudioVideoSettings::AudioVideoSettings(AudioVideoSettings const& source, int)
    : impl_(std::make_unique<AudioVideoSettingsImpl>(*source.impl_)) {}
AudioVideoSettings& AudioVideoSettings::operator=(AudioVideoSettings const& source) {
    *impl_ = *source.impl_;
    return *this;
}
AudioVideoSettings::~AudioVideoSettings() = default;

double AudioVideoSettings::FrameRate() const {
    return impl_->frameRate;
}
int AudioVideoSettings::FrameCount() const {
    return impl_->frameCount;
}
AudioSamplingRate AudioVideoSettings::AudioSampleRate() const {
    return impl_->rate;
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
    return impl_->rate == AudioSamplingRate::Custom ? impl_->customRate
                                                    : AudioSampleRateValue(impl_->rate);
}

double AudioVideoSettings::MsPerFrame(double frameRate) {
    return 1000.0 / frameRate;
}

void AudioVideoSettings::SetFrameRate(double frameRate) {
    if (!std::isfinite(frameRate) || frameRate <= 0.0) {
        throw std::invalid_argument("a frame rate must be a finite number above 0");
    }
    impl_->frameRate = frameRate;
}

void AudioVideoSettings::SetFrameCount(int frameCount) {
    if (frameCount < 0) throw std::invalid_argument("a frame count must not be negative");
    impl_->frameCount = frameCount;
}

void AudioVideoSettings::SetAudioSampleRate(AudioSamplingRate rate) {
    if (AudioSampleRateValue(rate) == 0) {
        throw std::invalid_argument("this enumerator stands for no sampling rate");
    }
    impl_->rate = rate;
    impl_->customRate = 0;
}

void AudioVideoSettings::SetCustomAudioSampleRate(int hertz) {
    if (hertz <= 0) throw std::invalid_argument("a sampling rate must be above 0");
    for (int i = 0; i < static_cast<int>(AudioSamplingRate::Custom); ++i) {
        const auto rate = static_cast<AudioSamplingRate>(i);
        if (AudioSampleRateValue(rate) == hertz) return SetAudioSampleRate(rate);
    }
    impl_->rate = AudioSamplingRate::Custom;
    impl_->customRate = hertz;
}

}  // namespace orlo::project
