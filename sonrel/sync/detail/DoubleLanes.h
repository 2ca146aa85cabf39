// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "sonrel/cpu/VectorLanes.h"

/// Vectors of 2, 4 or 8 doubles, and the ways between pairs of real and imaginary parts and vectors
/// of either.
namespace orlo::sonrel::detail {

template <int WIDTH>
struct Vector;

template <>
struct Vector<2> {
    using Doubles = double __attribute__((vector_size(16)));
};

template <>
struct Vector<4> {
    using Doubles = double __attribute__((vector_size(32)));
};

template <>
struct Vector<8> {
    using Doubles = double __attribute__((vector_size(64)));
};

template <int WIDTH>
using Doubles = typename Vector<WIDTH>::Doubles;

/// Splits WIDTH pairs, which lie in two vectors, into real and imaginary parts.
template <int WIDTH, int... LANE>
SONREL_ALWAYS_INLINE void SplitPairs(const Doubles<WIDTH>& low, const Doubles<WIDTH>& high,
                                     Doubles<WIDTH>& re, Doubles<WIDTH>& im,
                                     std::integer_sequence<int, LANE...>) {
    re = __builtin_shufflevector(low, high, (2 * LANE)...);
    im = __builtin_shufflevector(low, high, (2 * LANE + 1)...);
}

/// The way back.
template <int WIDTH, int... LANE>
SONREL_ALWAYS_INLINE void JoinPairs(const Doubles<WIDTH>& re, const Doubles<WIDTH>& im,
                                    Doubles<WIDTH>& low, Doubles<WIDTH>& high,
                                    std::integer_sequence<int, LANE...>) {
    low = __builtin_shufflevector(re, im, (LANE / 2 + (LANE % 2) * WIDTH)...);
    high = __builtin_shufflevector(re, im, (WIDTH / 2 + LANE / 2 + (LANE % 2) * WIDTH)...);
}

}  // namespace orlo::sonrel::detail
