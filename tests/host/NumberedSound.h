// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

/// Sound at 48000 Hz in which every frame of 25 frames a second contains its number.
namespace sonrel_tests {

constexpr int NUMBERED_FRAME = 1920;  // samples

/// A stereo WAV of 100 frames. The values of a frame are its number times 100.
/// @param chunks  further chunks, before the samples
inline std::string NumberedWave(const std::string& chunks = {}) {
    std::string samples;
    for (int i = 0; i < 100 * NUMBERED_FRAME; ++i) {
        const std::string value = Little(static_cast<std::uint64_t>(i / NUMBERED_FRAME * 100), 2);
        samples += value + value;
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + chunks + Chunk("data", samples));
}

/// The numbers of the frames of an undithered mix of such sound, from its left channel.
inline std::vector<int> NumbersOfFrames(const std::filesystem::path& mix) {
    const std::string bytes = ReadFile(mix);
    std::vector<int> numbers;
    for (std::size_t at = bytes.find("data") + 8; at < bytes.size(); at += 4 * NUMBERED_FRAME) {
        numbers.push_back((static_cast<unsigned char>(bytes[at]) +
                           256 * static_cast<signed char>(bytes[at + 1])) /
                          100);
    }
    return numbers;
}

}  // namespace sonrel_tests
