// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::host {

/// A peak in decibels below full scale, cut to -60 and 0.
double MeterDecibels(float peak);

/// The meter of one signal: for each channel the level, the peak that it holds, and a lamp that
/// stays lit once the channel has clipped.
class SignalMeter {
public:
    using Clock = std::chrono::steady_clock;

    /// How long a peak is held before a lower one takes its place.
    static constexpr std::chrono::milliseconds HOLD{1500};

    /// Takes a meter block that is heard at @p now.
    void Show(const sonrel::AudioTrackMetrics& metrics, Clock::time_point now);

    /// "#####----|---": as many characters as @p width, the level in full, the held peak as a
    /// stroke.
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
