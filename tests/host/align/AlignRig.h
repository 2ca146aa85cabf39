// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/host/ProgramRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

constexpr int RATE = 8000;

using Sound = std::vector<double>;

inline Sound Hiss(double seconds, unsigned int seed, double amplitude = 40.0) {
    std::mt19937 engine(seed);
    Sound sound(static_cast<std::size_t>(seconds * RATE));
    for (double& value : sound) value = amplitude * (engine() / 2147483648.0 - 1.0);
    return sound;
}

/// Bursts of low noise with pauses between them, like speech.
inline Sound Talk(double seconds, unsigned int seed) {
    std::mt19937 engine(seed);
    const auto between = [&](double low, double high) {
        return low + (high - low) * (engine() / 4294967296.0);
    };
    Sound sound(static_cast<std::size_t>(seconds * RATE), 0.0);
    double state = 0.0;
    for (std::size_t at = 0; at < sound.size();) {
        const auto length = static_cast<std::size_t>(between(0.08, 0.4) * RATE);
        const double gain = between(2000.0, 14000.0);
        const double softness = between(0.1, 0.5);
        for (std::size_t i = 0; i < length && at + i < sound.size(); ++i) {
            state += softness * (between(-1.0, 1.0) - state);
            sound[at + i] =
                gain * state *
                std::sin(3.14159 * static_cast<double>(i) / static_cast<double>(length));
        }
        at += length + static_cast<std::size_t>(between(0.0, 0.3) * RATE);
    }
    return sound;
}

inline Sound Repeated(const Sound& loop, int times) {
    Sound sound;
    for (int i = 0; i < times; ++i) sound.insert(sound.end(), loop.begin(), loop.end());
    return sound;
}

inline Sound Louder(Sound sound, double factor) {
    for (double& value : sound) value *= factor;
    return sound;
}

/// Adds a sound to a recording. The part after the end of the recording is cut.
inline Sound With(Sound recording, const Sound& sound, double seconds, int frames = 0) {
    const auto at = static_cast<std::size_t>(seconds * RATE) + static_cast<std::size_t>(frames);
    for (std::size_t i = 0; i < sound.size() && at + i < recording.size(); ++i) {
        recording[at + i] += sound[i];
    }
    return recording;
}

inline std::string WaveFile(const Sound& sound) {
    std::string data;
    for (const double value : sound) {
        const auto sample = static_cast<std::int16_t>(std::clamp(value, -32768.0, 32767.0));
        data += Little(static_cast<std::uint16_t>(sample), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 1, RATE, 16)) + Chunk("data", data));
}

/// Runs `sonrel align` on generated recordings.
class AlignProgram : public testing::Test {
protected:
    void Write(const std::string& name, const Sound& sound) {
        WriteFile(shop_.Work(name), WaveFile(sound));
    }

    ProgramResult Run(std::vector<std::string> more) {
        std::vector<std::string> arguments{"align", "--rate", std::to_string(RATE)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    /// The only result of a run with a.wav and b.wav.
    nlohmann::json Align(const Sound& a, const Sound& b) {
        Write("a.wav", a);
        Write("b.wav", b);
        return Run({"@a.wav", "@b.wav", "--json"}).Json().at("results").at(0);
    }

    Workshop shop_;
};

}  // namespace sonrel_tests
