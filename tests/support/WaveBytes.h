// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sonrel_tests {

/// @p size little-endian bytes of a number.
inline std::string Little(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

/// A chunk of a RIFF file, with its pad byte.
inline std::string Chunk(std::string_view name, std::string_view content) {
    std::string bytes(name);
    bytes += Little(content.size(), 4);
    bytes += content;
    if (content.size() % 2 != 0) bytes += '\0';
    return bytes;
}

/// The content of a format chunk.
inline std::string PcmFormat(int tag, int channels, int rate, int bits) {
    const int frameBytes = channels * bits / 8;
    return Little(tag, 2) + Little(channels, 2) + Little(rate, 4) + Little(rate * frameBytes, 4) +
           Little(frameBytes, 2) + Little(bits, 2);
}

/// A RIFF/WAVE file of these chunks.
inline std::string Riff(std::string_view chunks) {
    return "RIFF" + Little(4 + chunks.size(), 4) + "WAVE" + std::string(chunks);
}

/// Sample frames whose left value is their position and whose right value is its negative, both
/// modulo 32768.
inline std::string CountingSamples(long long count) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(count) * 4);
    for (long long i = 0; i < count; ++i) {
        const auto left = static_cast<std::int16_t>(i % 32768);
        bytes += Little(static_cast<std::uint16_t>(left), 2);
        bytes += Little(static_cast<std::uint16_t>(-left), 2);
    }
    return bytes;
}

/// The bytes of a conformed file of CountingSamples.
inline std::string ConformedFileBytes(long long count, int rate = 48000) {
    return Riff(Chunk("fmt ", PcmFormat(1, 2, rate, 16)) + Chunk("data", CountingSamples(count)));
}

}  // namespace sonrel_tests
