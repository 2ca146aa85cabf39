// SPDX-License-Identifier: MIT
#pragma once

#include <cfloat>
#include <cstdint>
#include <limits>

namespace zrtl {

static_assert(FLT_EVAL_METHOD == 0, "floats and doubles must be computed in their own precision");

/// Truncates @p value toward zero to 32 bits.
/// @return the integer part; the most negative integer when it does not fit, and for a NaN
inline std::int32_t TruncToInt32(double value) {
    if (value > -2147483649.0 && value < 2147483648.0) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

/// Truncates @p value toward zero to 64 bits.
/// @return the integer part; the most negative integer when it does not fit, and for a NaN
inline std::int64_t TruncToInt64(double value) {
    if (value >= -9223372036854775808.0 && value < 9223372036854775808.0) {
        return static_cast<std::int64_t>(value);
    }
    return std::numeric_limits<std::int64_t>::min();
}

}  // namespace zrtl
