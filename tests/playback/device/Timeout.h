// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace sonrel_tests {

/// Longer than any operation; only a broken build waits for it.
inline constexpr std::chrono::seconds TIMEOUT{20};

}  // namespace sonrel_tests
