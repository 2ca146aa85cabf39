// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// Buffers of powers have room for a multiple of this many.
constexpr int POWERS_ALIGNMENT = 8;

/// powf(10, level / 20) in single precision, as std::pow gives it.
float PowerOfLevel(float level);

/// The factors of a level ramp: powers[i] = PowerOfLevel((2 * (firstFrame + i)) * slope + start),
/// each step in single precision, to the bit as std::pow gives them.
///
/// The powers are computed in double precision, a vector at a time. What std::pow returns is
/// certain wherever the double lies further from the middle between two floats than both errors
/// together; elsewhere std::pow itself is called.
/// @param powers  room for @p count, rounded up to a multiple of POWERS_ALIGNMENT
void RampPowers(float start, float slope, int firstFrame, int count, float* powers);

}  // namespace orlo::sonrel::detail
