// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "sonrel/base/Numbers.h"

/// The formula that defines the resampler's output, to the bit: which operations, in which order
/// and precision. Every faster method must return the same bytes.
namespace orlo::sonrel::detail {

/// Taps of one output frame: source indices FIRST_TAP to LAST_TAP around the position.
constexpr int FIRST_TAP = -25;
constexpr int LAST_TAP = 23;
constexpr int TAP_COUNT = LAST_TAP - FIRST_TAP + 1;

/// Two pi as this filter has it. A more exact value would change bytes.
constexpr double TWO_PI = 6.28318530718;

/// The fixed cutoff, as a part of the rate. It doesn't follow the speed.
inline double ResamplerCutoff(int rate) {
    return (rate * 0.5 - 1.0) / rate;
}

/// The weight of a source frame at the signed distance @p d from the position.
inline double TapWeight(double cutoff, double d) {
    const double window = 0.5 - 0.5 * std::cos((d / 51.0 + 0.5) * TWO_PI);
    const double x = d * (cutoff * TWO_PI);
    const double s = x == 0.0 ? 1.0 : std::sin(x) / x;
    return window * (cutoff + cutoff) * s;
}

/// The position of output frame @p i. A product, never a running sum: adding up the speed would
/// drift from it.
inline double FramePosition(int i, double speed, int sourceOffset) {
    return i * speed + sourceOffset;
}

/// A sum as it is stored: cut toward zero, low 16 bits. A sum beyond 16 bits wraps.
inline short StoreSum(double sum) {
    return static_cast<short>(
        static_cast<std::uint16_t>(static_cast<std::uint32_t>(zrtl::TruncToInt32(sum))));
}

/// One output frame by the formula.
///
/// The index is cut toward zero and not floored: for a position between two of the first 25 source
/// frames the tap just left of frame 0 lands on frame 0 as well, so that frame 0 counts twice.
inline void ResampleFrame(double cutoff, double position, const short* source, int sourceCount,
                          short* output) {
    double left = 0.0;
    double right = 0.0;
    for (int k = FIRST_TAP; k <= LAST_TAP; ++k) {
        const std::int32_t index = zrtl::TruncToInt32(k + position);
        if (index < 0 || index >= sourceCount) continue;
        const double weight = TapWeight(cutoff, index - position);
        left += source[2 * static_cast<std::ptrdiff_t>(index)] * weight;
        right += source[2 * static_cast<std::ptrdiff_t>(index) + 1] * weight;
    }
    output[0] = StoreSum(left);
    output[1] = StoreSum(right);
}

}  // namespace orlo::sonrel::detail
