// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct AudioVideoSettingsImpl;

/// The sample rate of a timeline, in hertz.
enum class AudioSamplingRate : int {
    Hz8000,
    Hz11025,
    Hz16000,
    Hz22050,
    Hz32000,
    Hz44100,
    Hz48000,
    Hz88200,
    Hz96000,
    Hz176400,
    Hz192000,
    Custom,  ///< any other rate; the settings contain it in hertz
};

/// Frame rate, length and sampling rate of a sequence or composition.
class SONREL_EXPORT AudioVideoSettings {
public:
    /// 25 frames a second, 0 frames, 48000 Hz.
    AudioVideoSettings();
    AudioVideoSettings(AudioVideoSettings const& source, int = 0);    ///< copies all settings
    AudioVideoSettings& operator=(AudioVideoSettings const& source);  ///< copies all settings
    ~AudioVideoSettings();

    /// Frames a second.
    double FrameRate() const;
    /// Length in frames.
    int FrameCount() const;
    AudioSamplingRate AudioSampleRate() const;  ///< Custom for other rates
    /// The enumerator in hertz; 0 for Custom.
    static int AudioSampleRateValue(AudioSamplingRate rate);
    /// The rate of these settings in hertz.
    int AudioSampleRateValue() const;
    /// Milliseconds in a frame: 1000.0 / frameRate.
    static double MsPerFrame(double frameRate);

    /// @throws std::invalid_argument when not finite and above 0
    void SetFrameRate(double frameRate);
    /// @throws std::invalid_argument when negative
    void SetFrameCount(int frameCount);
    /// @throws std::invalid_argument for Custom, which SetCustomAudioSampleRate sets
    void SetAudioSampleRate(AudioSamplingRate rate);
    /// Sets the enumerator of that rate if it exists, else Custom.
    /// @param hertz  above 0
    /// @throws std::invalid_argument otherwise
    void SetCustomAudioSampleRate(int hertz);

private:
    std::unique_ptr<AudioVideoSettingsImpl> impl_;
};

}  // namespace orlo::project
