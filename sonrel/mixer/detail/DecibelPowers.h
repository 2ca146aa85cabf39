// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// Buffers of powers have room for a multiple of this many.
constexpr int POWERS_ALIGNMENT = 8;

/// powf(10, level / 20) in single precision, equal to the result of std::pow.
float PowerOfLevel(float level);

/// The factors of a level ramp: powers[i] = PowerOfLevel((2 * (firstFrame + i)) * slope + start),
/// each step in single precision, with the bits of std::pow.
///
/// The powers are computed in double precision, a vector at a time. The result of std::pow is
/// certain wherever the distance of the double to the middle between two floats is above both
/// errors together. Elsewhere std::pow itself is called.
/// @param powers  room for @p count, rounded up to a multiple of POWERS_ALIGNMENT
void RampPowers(float start, float slope, int firstFrame, int count, float* powers);

}  // namespace orlo::sonrel::detail
