// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace orlo::sonrel::test {

/// Signals that show the faults that a resampler could have, as interleaved stereo samples.
enum class Signal {
    Noise,          ///< full-scale white noise
    TinyNoise,      ///< -1, 0 and 1: sums near zero
    NyquistSquare,  ///< full scale, the sign changes with each frame
    SlowSquare,     ///< full scale, the sign changes every 50 frames: sums beyond 16 bits
    Constant,       ///< direct current: equal sums
    Impulses,       ///< single full-scale frames: each output is one weight
    Sine,           ///< 997 Hz at 48000
    Silence,
};

constexpr Signal ALL_SIGNALS[] = {Signal::Noise,      Signal::TinyNoise, Signal::NyquistSquare,
                                  Signal::SlowSquare, Signal::Constant,  Signal::Impulses,
                                  Signal::Sine,       Signal::Silence};

inline short SignalValue(Signal signal, std::size_t frame, bool right, std::mt19937& random) {
    switch (signal) {
        case Signal::Noise:
            return static_cast<short>(static_cast<std::int32_t>(random() & 0xffffu) - 32768);
        case Signal::TinyNoise:
            return static_cast<short>(static_cast<std::int32_t>(random() % 3u) - 1);
        case Signal::NyquistSquare:
            return (frame % 2 == 0) == right ? 32767 : -32768;
        case Signal::SlowSquare:
            return (frame / 50 % 2 == 0) == right ? 32767 : -32768;
        case Signal::Constant:
            return right ? 10000 : -32768;
        case Signal::Impulses:
            return frame % 61 == 30 ? (right ? 32767 : -32768) : 0;
        case Signal::Sine:
            return static_cast<short>(
                30000.0 * std::sin(0.13051 * static_cast<double>(frame) + (right ? 1.0 : 0.0)));
        case Signal::Silence:
            return 0;
    }
    return 0;
}

inline std::vector<short> MakeSignal(Signal signal, std::size_t frames, unsigned int seed) {
    std::mt19937 random(seed);
    std::vector<short> samples(2 * frames);
    for (std::size_t i = 0; i < frames; ++i) {
        samples[2 * i] = SignalValue(signal, i, false, random);
        samples[2 * i + 1] = SignalValue(signal, i, true, random);
    }
    return samples;
}

}  // namespace orlo::sonrel::test
