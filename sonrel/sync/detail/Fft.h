// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace orlo::sonrel::detail {

/// The largest transform, in points.
constexpr unsigned int MAX_TRANSFORM_POINTS = 16777216;

/// Transforms in place: forward, without scaling, from natural order to natural order.
///
/// The bits of the result are those of the plain radix-2 form: bit reversal, then one level of
/// butterflies after the other, each level's twiddle factor running along its circle by a
/// recurrence. They depend neither on the number of threads nor on the processor.
///
/// The 2-point level is a plain sum and difference: the multiplication by its only factor, 1, is
/// left out. A form that multiplies there may differ in the sign of a zero and in the partner of an
/// infinity or a NaN.
///
/// The machine's whole concurrency is the thread budget of a call. Calls on different data may run
/// at the same time.
/// @param data  2 * n doubles, real and imaginary part of each point in turn
/// @param n     points, a power of two up to MAX_TRANSFORM_POINTS; below 2 nothing happens
void FastFourierTransform(double* data, unsigned int n);

/// The same with another thread budget, at least 1.
void FastFourierTransform(double* data, unsigned int n, unsigned int threads);

/// Keeps the twiddle factors of transforms of @p n points in memory as long as the result lives.
/// For code that runs several of them: large factors are released after each transform otherwise.
std::shared_ptr<const void> HoldTwiddles(unsigned int n);

/// What a transform gives its two halves of the threads that it may use.
struct ThreadSplit {
    int first = 0;
    int second = 0;
};

/// The odd thread goes to the first half: 3 give 2 and 1.
constexpr ThreadSplit SplitThreads(int threads) {
    return {threads / 2 + threads % 2, threads / 2};
}

}  // namespace orlo::sonrel::detail
