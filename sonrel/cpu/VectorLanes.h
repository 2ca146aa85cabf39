// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "sonrel/cpu/CpuPath.h"

/// Compiler vectors for kernels that are written once and compiled for several instruction sets
/// (see Kernels.h). Their operators compute each lane like the scalar operators, so every width
/// gives the same bits. Only AddProduct differs.
///
/// Vectors are passed by reference and never returned: without AVX the compiler has no convention
/// for passing the wide vectors.
namespace orlo::sonrel::detail {

#define SONREL_ALWAYS_INLINE [[gnu::always_inline]] inline

/// The vectors of one register of BYTES bytes: 16 on every processor, 32 with AVX2, 64 with
/// AVX-512. They are typedefs because an alias loses a size that depends on a template parameter.
template <int BYTES>
struct Lanes {
    static constexpr int COUNT = BYTES / 4;
    typedef float Floats __attribute__((vector_size(BYTES)));
    typedef std::int32_t Ints __attribute__((vector_size(BYTES)));
    typedef std::uint32_t Words __attribute__((vector_size(BYTES)));

    typedef std::int16_t Shorts __attribute__((vector_size(BYTES / 2)));

    /// As many shorts as the instruction set compares at once: AVX-512 F compares 32-bit integers
    /// and wider ones only.
    static constexpr int SHORT_COUNT = BYTES < 64 ? BYTES / 2 : 16;
    typedef std::int16_t ComparedShorts __attribute__((vector_size(BYTES < 64 ? BYTES : 32)));

    static constexpr int DOUBLE_COUNT = BYTES / 8;
    typedef double Doubles __attribute__((vector_size(BYTES)));
    typedef std::int64_t Longs __attribute__((vector_size(BYTES)));
    typedef float HalfFloats __attribute__((vector_size(BYTES / 2)));
    typedef std::int32_t HalfInts __attribute__((vector_size(BYTES / 2)));
};

/// The numbers of COUNT lanes, for shuffles.
template <int COUNT>
constexpr auto LANE_NUMBERS = std::make_integer_sequence<int, COUNT>();

template <typename Vector, typename Value>
SONREL_ALWAYS_INLINE void Load(Vector& to, const Value* from) {
    std::memcpy(&to, from, sizeof to);
}

template <typename Vector, typename Value>
SONREL_ALWAYS_INLINE void Store(Value* to, const Vector& from) {
    std::memcpy(to, &from, sizeof from);
}

/// Puts a value into every lane. The two forms give the same vector: GCC 12 makes the shorter code
/// of the first for two lanes and of the second for more.
template <typename Vector, typename Value>
SONREL_ALWAYS_INLINE void Spread(Value value, Vector& to) {
    if constexpr (sizeof(Vector) == 2 * sizeof(Value)) {
        to = Vector{value, value};
    } else {
        to = Vector{} + value;
    }
}

/// Splits interleaved pairs in two vectors into their first and their second values.
/// @param lanes  LANE_NUMBERS of one vector
template <typename Vector, int... LANE>
SONREL_ALWAYS_INLINE void SplitPairs(const Vector& low, const Vector& high, Vector& first,
                                     Vector& second,
                                     [[maybe_unused]] std::integer_sequence<int, LANE...> lanes) {
    first = __builtin_shufflevector(low, high, (2 * LANE)...);
    second = __builtin_shufflevector(low, high, (2 * LANE + 1)...);
}

/// Interleaves the values of two vectors: the inverse of SplitPairs.
template <typename Vector, int... LANE>
SONREL_ALWAYS_INLINE void JoinPairs(const Vector& first, const Vector& second, Vector& low,
                                    Vector& high,
                                    [[maybe_unused]] std::integer_sequence<int, LANE...> lanes) {
    constexpr int COUNT = sizeof...(LANE);
    low = __builtin_shufflevector(first, second, (LANE / 2 + (LANE % 2) * COUNT)...);
    high = __builtin_shufflevector(first, second, (COUNT / 2 + LANE / 2 + (LANE % 2) * COUNT)...);
}

/// Splits a vector of stereo frames of 16 bits into the values of its channels.
template <typename L>
SONREL_ALWAYS_INLINE void LoadFrames(const short* frames, typename L::Floats& left,
                                     typename L::Floats& right) {
    typename L::Ints pairs;
    Load(pairs, frames);
    left = __builtin_convertvector((pairs << 16) >> 16, typename L::Floats);
    right = __builtin_convertvector(pairs >> 16, typename L::Floats);
}

#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wpsabi"  // the built-in functions return vectors
#endif

/// Converts a vector of 16-bit samples to as many 32-bit integers. GCC 12 converts the
/// halves of a vector separately.
template <typename Shorts, typename Ints>
SONREL_ALWAYS_INLINE void Widen(const Shorts& shorts, Ints& ints) {
#if SONREL_X86 && !defined(__clang__)
    if constexpr (sizeof(Ints) == 64) {
        ints = __builtin_ia32_pmovsxwd512_mask(shorts, Ints{}, -1);
        return;
    } else if constexpr (sizeof(Ints) == 32) {
        ints = __builtin_ia32_pmovsxwd256(shorts);
        return;
    }
#endif
    ints = __builtin_convertvector(shorts, Ints);
}

/// Converts 32-bit integers to doubles. GCC 12 converts the halves of four lanes separately.
template <typename L>
SONREL_ALWAYS_INLINE void ToDoubles(const typename L::HalfInts& from, typename L::Doubles& to) {
#if SONREL_X86 && !defined(__clang__)
    if constexpr (L::DOUBLE_COUNT == 4) {
        to = __builtin_ia32_cvtdq2pd256(from);
        return;
    }
#endif
    to = __builtin_convertvector(from, typename L::Doubles);
}

/// sum += a * b, rounded once where the instruction set has a fused operation and twice where it
/// has none. Only for sums whose last bits are not part of the output.
template <typename L>
SONREL_ALWAYS_INLINE void AddProduct(const typename L::Doubles& a, const typename L::Doubles& b,
                                     typename L::Doubles& sum) {
#if defined(__clang__)
#pragma clang fp contract(fast)
    sum = a * b + sum;
#elif SONREL_X86
    if constexpr (L::DOUBLE_COUNT == 8) {
        sum = __builtin_ia32_vfmaddpd512_mask(a, b, sum, -1, _MM_FROUND_CUR_DIRECTION);
    } else if constexpr (L::DOUBLE_COUNT == 4) {
        sum = __builtin_ia32_vfmaddpd256(a, b, sum);
    } else {
        sum += a * b;
    }
#else
    sum += a * b;
#endif
}

#pragma GCC diagnostic pop

}  // namespace orlo::sonrel::detail
