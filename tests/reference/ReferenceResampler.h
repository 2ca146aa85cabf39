// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "sonrel/base/Numbers.h"

namespace orlo::sonrel::reference {

/// The reference of the resampler: the documented formula, without any table. The resampler must
/// match it byte for byte.
inline void ResampleStereo(int rate, double speed, const short* source, int sourceOffset,
                           int sourceCount, short* output, int outputCount) {
    const double cutoff = (rate * 0.5 - 1.0) / rate;
    for (int i = 0; i < outputCount; ++i) {
        const double position = i * speed + sourceOffset;
        double leftSum = 0.0;
        double rightSum = 0.0;
        for (int k = -25; k <= 23; ++k) {
            const std::int32_t index = zrtl::TruncToInt32(k + position);
            const double d = index - position;
            const double window = 0.5 - 0.5 * std::cos((d / 51.0 + 0.5) * 6.28318530718);
            const double x = d * (cutoff * 6.28318530718);
            const double s = x == 0.0 ? 1.0 : std::sin(x) / x;
            if (index >= 0 && index < sourceCount) {
                const double weight = window * (cutoff + cutoff) * s;
                leftSum += source[2 * static_cast<std::ptrdiff_t>(index)] * weight;
                rightSum += source[2 * static_cast<std::ptrdiff_t>(index) + 1] * weight;
            }
        }
        const auto left = static_cast<std::uint32_t>(zrtl::TruncToInt32(leftSum));
        const auto right = static_cast<std::uint32_t>(zrtl::TruncToInt32(rightSum));
        output[2 * static_cast<std::ptrdiff_t>(i)] =
            static_cast<short>(static_cast<std::uint16_t>(left));
        output[2 * static_cast<std::ptrdiff_t>(i) + 1] =
            static_cast<short>(static_cast<std::uint16_t>(right));
    }
}

}  // namespace orlo::sonrel::reference
