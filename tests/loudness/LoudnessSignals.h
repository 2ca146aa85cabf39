// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

#include "sonrel/loudness/LoudnessMeter.h"

namespace sonrel_tests {

/// Interleaved stereo frames.
using Frames = std::vector<short>;

inline short ToShort(double value) {
    return static_cast<short>(std::lround(std::clamp(value, -32768.0, 32767.0)));
}

/// Appends a tone of 1000 Hz on both channels. Each tone begins at phase 0.
/// @param decibels  peak relative to full scale
inline void AppendTone(Frames& frames, int rate, double seconds, double decibels) {
    const double peak = 32768.0 * std::pow(10.0, decibels / 20.0);
    const auto count = static_cast<long long>(std::lround(seconds * rate));
    for (long long i = 0; i < count; ++i) {
        const double turns = 1000.0 * static_cast<double>(i % rate) / rate;
        const short value = ToShort(peak * std::sin(2.0 * std::numbers::pi * turns));
        frames.insert(frames.end(), {value, value});
    }
}

inline void AppendSilence(Frames& frames, int rate, double seconds) {
    frames.resize(frames.size() + 2 * static_cast<std::size_t>(std::lround(seconds * rate)));
}

/// Noise of the whole range, different on both channels.
inline Frames WhiteNoise(std::size_t count, unsigned int seed) {
    std::mt19937 random(seed);
    Frames frames(2 * count);
    for (short& value : frames) value = static_cast<short>(random() >> 16);
    return frames;
}

/// A meter that has measured a signal.
inline orlo::sonrel::LoudnessMeter Measured(const Frames& frames, int rate) {
    orlo::sonrel::LoudnessMeter meter(rate);
    meter.Add(frames.data(), frames.size() / 2);
    return meter;
}

}  // namespace sonrel_tests
