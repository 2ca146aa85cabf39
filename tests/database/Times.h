// SPDX-License-Identifier: MIT
#pragma once

namespace sonrel_tests {

/// Milliseconds.
inline constexpr long long DAY = 24LL * 60 * 60 * 1000;

}  // namespace sonrel_tests
