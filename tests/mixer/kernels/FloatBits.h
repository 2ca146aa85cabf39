// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>

namespace orlo::sonrel::detail {

/// The bits of a value, so that zeros with different signs and NaNs compare exactly.
inline std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

}  // namespace orlo::sonrel::detail
