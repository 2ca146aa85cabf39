// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sonrel/base/StereoFrame.h"

/// The header of a WAV file of 16-bit stereo, the bytes before its samples. All writers of the
/// engine and of the program use it; the files are documented in docs/formats/xwmc.md.
namespace zrtl {

/// RF64 has 64-bit sizes.
enum class WavFormat { Wav, Rf64 };

namespace detail {

constexpr std::uint64_t WAV_CHANNELS = 2;
constexpr std::uint64_t WAV_BITS = 16;
constexpr std::uint64_t WAV_FRAME_BYTES = zrtl::FRAME_BYTES;
/// A 32-bit size that is unknown or stored elsewhere.
constexpr std::uint64_t NO_WAV_SIZE = 0xFFFFFFFFU;

inline std::string LittleEndian(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}

/// The fields that every format chunk starts with.
inline std::string WavFormatFields(std::uint64_t tag, int rate) {
    const auto hertz = static_cast<std::uint64_t>(rate);
    return LittleEndian(tag, 2) + LittleEndian(WAV_CHANNELS, 2) + LittleEndian(hertz, 4) +
           LittleEndian(hertz * WAV_FRAME_BYTES, 4) + LittleEndian(WAV_FRAME_BYTES, 2) +
           LittleEndian(WAV_BITS, 2);
}

inline std::string PlainWavHeader(int rate, std::optional<std::int64_t> frames) {
    constexpr std::uint64_t REST = 36;  // bytes of the header after the size of the file
    std::uint64_t data = NO_WAV_SIZE;
    std::uint64_t whole = NO_WAV_SIZE;
    if (frames) {
        data = static_cast<std::uint64_t>(*frames) * WAV_FRAME_BYTES;
        whole = data + REST;
    }
    return "RIFF" + LittleEndian(whole, 4) + "WAVEfmt " + LittleEndian(16, 4) +
           WavFormatFields(1, rate) + "data" + LittleEndian(data, 4);
}

/// The extensible format: 16 valid bits, front left and front right, and the identity of PCM.
inline std::string ExtensibleWavFormat(int rate) {
    constexpr char PCM_TAIL[] = "\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71";
    return WavFormatFields(0xFFFE, rate) + LittleEndian(22, 2) + LittleEndian(WAV_BITS, 2) +
           LittleEndian(3, 4) + LittleEndian(1, 2) + std::string(PCM_TAIL, sizeof PCM_TAIL - 1);
}

inline std::string Rf64Header(int rate, std::optional<std::int64_t> frames) {
    constexpr std::uint64_t REST = 96;
    const auto count = static_cast<std::uint64_t>(frames.value_or(0));
    const std::uint64_t data = count * WAV_FRAME_BYTES;
    return "RF64" + LittleEndian(NO_WAV_SIZE, 4) + "WAVEds64" + LittleEndian(28, 4) +
           LittleEndian(data + REST, 8) + LittleEndian(data, 8) + LittleEndian(count, 8) +
           LittleEndian(0, 4) + "fmt " + LittleEndian(40, 4) + ExtensibleWavFormat(rate) + "data" +
           LittleEndian(NO_WAV_SIZE, 4);
}

}  // namespace detail

/// The maximum number of frames of a plain WAV file: its sizes have 32 bits, and 4096 bytes are
/// reserved for the header.
constexpr std::int64_t MAX_PLAIN_WAV_FRAMES = (0xFFFFFFFFLL - 4096) / 4;

/// The format for a number of frames: plain WAV if its sizes fit, otherwise RF64.
constexpr WavFormat WavFormatFor(std::int64_t frames) {
    return frames > MAX_PLAIN_WAV_FRAMES ? WavFormat::Rf64 : WavFormat::Wav;
}

/// The header. Its length depends on the format only: 44 bytes for WAV, 104 for RF64.
/// @param rate    hertz
/// @param frames  empty for a WAV stream of unknown length: the sizes are 0xFFFFFFFF
inline std::string WavHeader(WavFormat format, int rate, std::optional<std::int64_t> frames) {
    return format == WavFormat::Rf64 ? detail::Rf64Header(rate, frames)
                                     : detail::PlainWavHeader(rate, frames);
}

}  // namespace zrtl
