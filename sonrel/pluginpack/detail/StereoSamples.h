// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "sonrel/contracts/zrtl/Numbers.h"

/// Interleaved stereo signed 16-bit samples in a byte buffer, which need not be aligned.
namespace orlo::sonrel::detail {

constexpr int CHANNELS = 2;
constexpr int BITS_PER_SAMPLE = 16;
constexpr int FRAME_BYTES = 4;

inline std::ptrdiff_t ByteOf(long long frame, int channel) {
    return static_cast<std::ptrdiff_t>(frame) * FRAME_BYTES + channel * 2;
}

inline short ReadValue(const unsigned char* samples, long long frame, int channel) {
    short value;
    std::memcpy(&value, samples + ByteOf(frame, channel), sizeof(value));
    return value;
}

inline void WriteValue(unsigned char* samples, long long frame, int channel, short value) {
    std::memcpy(samples + ByteOf(frame, channel), &value, sizeof(value));
}

/// Writes silence from @p firstFrame up to @p endFrame, which may lie before it.
inline void WriteSilence(unsigned char* samples, long long firstFrame, long long endFrame) {
    if (firstFrame >= endFrame) return;
    std::memset(samples + ByteOf(firstFrame, 0), 0,
                static_cast<std::size_t>(endFrame - firstFrame) * FRAME_BYTES);
}

/// Rounds half away from zero and clips to 16 bits.
///
/// The limits are whole numbers, so clipping first gives the same; and on each side of zero,
/// cutting what was moved half a step outwards is what floor and ceil would give.
inline short ToValue(double value) {
    const double clipped = std::clamp(value, -32768.0, 32767.0);
    return static_cast<short>(zrtl::TruncToInt32(clipped + std::copysign(0.5, clipped)));
}

}  // namespace orlo::sonrel::detail
