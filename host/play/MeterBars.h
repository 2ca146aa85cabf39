// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::host {

/// A peak in decibels relative to full scale, clamped to -60 ... 0.
double MeterDecibels(float peak);

/// The meter of one signal. Each channel has a level, a held peak, and a clip lamp that stays lit
/// once the channel has clipped.
class SignalMeter {
public:
    using Clock = std::chrono::steady_clock;

    /// Time for which a peak is held before a lower peak replaces it.
    static constexpr std::chrono::milliseconds HOLD{1500};

    /// Shows a meter block that is heard at @p now.
    void Show(const sonrel::AudioTrackMetrics& metrics, Clock::time_point now);

    /// A bar of @p width characters: "#####----|---". The level is drawn with '#', the held peak
    /// with '|'.
    std::string Bar(int channel, int width) const;
    bool Lamp(int channel) const { return channels_[channel].lamp; }
    float Held(int channel) const { return channels_[channel].held; }

private:
    struct Channel {
        float level = 0.0f;
        float held = 0.0f;
        Clock::time_point heldSince;
        bool lamp = false;
    };

    Channel channels_[2];
};

}  // namespace orlo::host
