// SPDX-License-Identifier: MIT
#include "host/play/MeterBars.h"

#include <algorithm>
#include <cmath>

namespace orlo::host {

namespace {

constexpr double MIN_DECIBELS = -60.0;

/// Number of characters that a peak fills in a bar of @p width. Every peak above the lowest level
/// fills at least one.
int Filled(float peak, int width) {
    const double share = 1.0 - MeterDecibels(peak) / MIN_DECIBELS;
    return static_cast<int>(std::ceil(share * width));
}

}  // namespace

double MeterDecibels(float peak) {
    if (!(peak > 0.0f)) return MIN_DECIBELS;
    return std::clamp(20.0 * std::log10(static_cast<double>(peak)), MIN_DECIBELS, 0.0);
}

void SignalMeter::Show(const sonrel::AudioTrackMetrics& metrics, Clock::time_point now) {
    for (int i = 0; i < 2; ++i) {
        Channel& channel = channels_[i];
        channel.level = metrics.peak[i];
        if (metrics.peak[i] >= channel.held || now - channel.heldSince > HOLD) {
            channel.held = metrics.peak[i];
            channel.heldSince = now;
        }
        channel.lamp = channel.lamp || metrics.clipped[i];
    }
}

std::string SignalMeter::Bar(int channel, int width) const {
    const int level = Filled(channels_[channel].level, width);
    const int held = Filled(channels_[channel].held, width);
    std::string bar(static_cast<std::size_t>(width), '-');
    std::fill(bar.begin(), bar.begin() + level, '#');
    if (held > 0) bar[static_cast<std::size_t>(held) - 1] = '|';
    return bar;
}

}  // namespace orlo::host
