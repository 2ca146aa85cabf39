// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace orlo::sonrel::detail {

/// The largest transform, in points.
constexpr unsigned int MAX_TRANSFORM_POINTS = 16777216;

/// Transforms in place: forward, without scaling, from natural order to natural order.
///
/// The result has the bits of the plain radix-2 form: bit reversal, then one level of butterflies
/// after the other, with the twiddle factors of each level from a recurrence. The bits depend
/// neither on the number of threads nor on the processor.
///
/// The 2-point level is a plain sum and difference, without the multiplication by its only factor,
/// 1. A form that multiplies there may differ in the sign of a zero and in the other part of a
/// point with an infinity or a NaN.
///
/// The thread budget of a call is the whole concurrency of the machine. Calls on different data may
/// run at the same time.
/// @param data  2 * n doubles, interleaved real and imaginary parts
/// @param n     points, a power of two up to MAX_TRANSFORM_POINTS; below 2 nothing happens
void FastFourierTransform(double* data, unsigned int n);

/// The same with a given thread budget, at least 1.
void FastFourierTransform(double* data, unsigned int n, unsigned int threads);

/// Keeps the twiddle factors of transforms of @p n points in memory as long as the result exists.
/// For code that runs several transforms: otherwise large tables are released after each transform.
std::shared_ptr<const void> HoldTwiddles(unsigned int n);

/// The threads of the two halves of a transform.
struct ThreadSplit {
    int first = 0;
    int second = 0;
};

/// The odd thread goes to the first half: 3 are divided into 2 and 1.
constexpr ThreadSplit SplitThreads(int threads) {
    return {threads / 2 + threads % 2, threads / 2};
}

}  // namespace orlo::sonrel::detail
