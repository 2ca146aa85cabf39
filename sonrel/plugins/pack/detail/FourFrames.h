// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>

#include "sonrel/cpu/Kernels.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

/// Interleaved stereo 16-bit samples in kernels for the baseline and for AVX2. Both compute each
/// value like ReadFrame and WriteFrame, so they give the same bytes. AVX-512 is not faster here:
/// most of the time is spent in conversions, whose narrow side has the same width.
namespace orlo::sonrel::detail {

constexpr int FRAMES_AT_ONCE = 4;

/// Four stereo frames, two in each vector of AVX2 and one in each of the baseline.
template <typename L>
struct FourFrames {
    static constexpr int FRAMES_OF_PART = L::DOUBLE_COUNT / CHANNELS;
    static constexpr int PARTS = FRAMES_AT_ONCE / FRAMES_OF_PART;

    typename L::Doubles parts[PARTS];
};

#if SONREL_X86

using FourInts = std::int32_t __attribute__((vector_size(16)));

/// Rounds half away from zero, without a limit.
SONREL_ALWAYS_INLINE void RoundHalfAway(const Lanes<32>::Doubles& values, __m128i& whole) {
    constexpr auto SIGN_BIT = std::bit_cast<std::int64_t>(-0.0);
    constexpr auto HALF_BITS = std::bit_cast<std::int64_t>(0.5);
    // Half a step with the sign of each value: the sum is truncated toward zero.
    Lanes<32>::Longs bits;
    Load(bits, &values);
    bits = (bits & SIGN_BIT) | HALF_BITS;
    Lanes<32>::Doubles half;
    Load(half, &bits);
    const FourInts cut = __builtin_convertvector(values + half, FourInts);
    Load(whole, &cut);
}

SONREL_ALWAYS_INLINE void ReadFour(const unsigned char* samples, FourFrames<Lanes<32>>& frames) {
    __m128i values;
    Load(values, samples);
    // Each value in the upper half of 32 bits, then shifted down with its sign.
    const __m128i wide[] = {_mm_srai_epi32(_mm_unpacklo_epi16(values, values), 16),
                            _mm_srai_epi32(_mm_unpackhi_epi16(values, values), 16)};
    for (int i = 0; i < 2; ++i) {
        FourInts part;
        Load(part, &wide[i]);
        ToDoubles<Lanes<32>>(part, frames.parts[i]);
    }
}

/// Writes four frames, rounded half away from zero and clipped to 16 bits.
/// @param frames  values between -2^31 and 2^31
SONREL_ALWAYS_INLINE void WriteFour(unsigned char* samples, const FourFrames<Lanes<32>>& frames) {
    __m128i low;
    __m128i high;
    RoundHalfAway(frames.parts[0], low);
    RoundHalfAway(frames.parts[1], high);
    const __m128i clipped = _mm_packs_epi32(low, high);
    Store(samples, clipped);
}

#endif

SONREL_ALWAYS_INLINE void ReadFour(const unsigned char* samples, FourFrames<Lanes<16>>& frames) {
    for (int i = 0; i < FRAMES_AT_ONCE; ++i) frames.parts[i] = ReadFrame(samples, i);
}

SONREL_ALWAYS_INLINE void WriteFour(unsigned char* samples, const FourFrames<Lanes<16>>& frames) {
    for (int i = 0; i < FRAMES_AT_ONCE; ++i) WriteFrame(samples, i, frames.parts[i]);
}

}  // namespace orlo::sonrel::detail
