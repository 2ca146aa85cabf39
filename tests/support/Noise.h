// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace sonrel_tests {

/// Noise, the same for the same seed.
/// @param convert  returns a value for 32 random bits
template <class Convert>
auto MakeNoise(std::size_t count, unsigned int seed, Convert convert) {
    std::mt19937 random(seed);
    std::vector<decltype(convert(std::uint32_t{}))> values(count);
    for (auto& value : values) value = convert(static_cast<std::uint32_t>(random()));
    return values;
}

inline std::string NoiseBytes(std::size_t count, unsigned int seed = 12345) {
    const auto bytes =
        MakeNoise(count, seed, [](std::uint32_t bits) { return static_cast<char>(bits >> 24); });
    return {bytes.begin(), bytes.end()};
}

}  // namespace sonrel_tests
