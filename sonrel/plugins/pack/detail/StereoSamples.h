// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/StereoFrame.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Interleaved stereo signed 16-bit samples in a byte buffer, which need not be aligned.
namespace orlo::sonrel::detail {

/// The kind that each effect reports, and the results of its operations.
constexpr int AUDIO_PLUGIN = 1;
constexpr int DONE = 0;
constexpr int UNKNOWN_FORMAT = -1;

constexpr int CHANNELS = 2;
constexpr int BITS_PER_SAMPLE = 16;
using zrtl::FRAME_BYTES;
constexpr double MIN_VALUE = -32768.0;
constexpr double MAX_VALUE = 32767.0;

/// Left and right of a sample frame. Operators work on each channel separately.
using Frame = double __attribute__((vector_size(16)));

inline std::ptrdiff_t ByteOf(long long frame) {
    return static_cast<std::ptrdiff_t>(frame) * FRAME_BYTES;
}

/// Writes silence from @p firstFrame to @p endFrame, exclusive; nothing if @p endFrame is earlier.
inline void WriteSilence(unsigned char* samples, long long firstFrame, long long endFrame) {
    if (firstFrame >= endFrame) return;
    std::memset(samples + ByteOf(firstFrame), 0,
                static_cast<std::size_t>(endFrame - firstFrame) * FRAME_BYTES);
}

inline Frame ReadFrame(const unsigned char* samples, long long at) {
#if defined(__SSE2__)
    int both = 0;
    std::memcpy(&both, samples + ByteOf(at), sizeof(both));
    const __m128i twice = _mm_cvtsi32_si128(both);
    // Each value in the upper half of 32 bits, then shifted down with its sign.
    const __m128i wide = _mm_srai_epi32(_mm_unpacklo_epi16(twice, twice), 16);
    return static_cast<Frame>(_mm_cvtepi32_pd(wide));
#else
    short values[CHANNELS];
    std::memcpy(values, samples + ByteOf(at), sizeof(values));
    return Frame{static_cast<double>(values[0]), static_cast<double>(values[1])};
#endif
}

/// Writes a frame, rounded half away from zero and clipped to 16 bits.
///
/// The limits are whole numbers, so that clipping first changes no result. Half a step away from
/// zero, then truncation toward zero, is the rounding.
inline void WriteFrame(unsigned char* samples, long long at, Frame values) {
#if defined(__SSE2__)
    const __m128d clipped =
        _mm_min_pd(_mm_max_pd(values, _mm_set1_pd(MIN_VALUE)), _mm_set1_pd(MAX_VALUE));
    const __m128d sign = _mm_and_pd(clipped, _mm_set1_pd(-0.0));
    const __m128d moved = _mm_add_pd(clipped, _mm_or_pd(sign, _mm_set1_pd(0.5)));
    const __m128i cut = _mm_cvttpd_epi32(moved);
    const int both = _mm_cvtsi128_si32(_mm_packs_epi32(cut, cut));
    std::memcpy(samples + ByteOf(at), &both, sizeof(both));
#else
    short cut[CHANNELS];
    for (int channel = 0; channel < CHANNELS; ++channel) {
        const double clipped = std::clamp(values[channel], MIN_VALUE, MAX_VALUE);
        cut[channel] =
            static_cast<short>(zrtl::TruncToInt32(clipped + std::copysign(0.5, clipped)));
    }
    std::memcpy(samples + ByteOf(at), cut, sizeof(cut));
#endif
}

}  // namespace orlo::sonrel::detail
