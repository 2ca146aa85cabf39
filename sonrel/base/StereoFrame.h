// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zrtl {

/// One sample of stereo sound, the unit of every position and count of the mixer: two signed
/// 16-bit values, left first.
struct StereoFrame {
    std::int16_t left;   ///< full scale 32768
    std::int16_t right;  ///< full scale 32768
};

/// Bytes of a frame in buffers and conformed files.
constexpr int FRAME_BYTES = sizeof(StereoFrame);
static_assert(FRAME_BYTES == 4, "two 16-bit values without padding");

/// The frames of a buffer that an interface passes as bytes.
inline StereoFrame* FramesOf(unsigned char* bytes) {
    return reinterpret_cast<StereoFrame*>(bytes);
}

/// The same buffer as the bytes of an interface.
inline unsigned char* BytesOf(StereoFrame* frames) {
    return reinterpret_cast<unsigned char*>(frames);
}

/// The interleaved values of frames, for arithmetic on single values.
inline short* ValuesOf(StereoFrame* frames) {
    return reinterpret_cast<short*>(frames);
}
inline const short* ValuesOf(const StereoFrame* frames) {
    return reinterpret_cast<const short*>(frames);
}  ///< the same, to read

}  // namespace zrtl
