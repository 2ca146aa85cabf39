// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

/// The header of a peak file: the magic, the version, the channel count and the block count.
/// Numbers are little-endian, four bytes each. The blocks follow.
namespace orlo::sonrel::detail {

constexpr std::string_view PEAK_MAGIC = "ORLOXWPK";
constexpr std::uint32_t PEAK_VERSION = 1;
constexpr long long PEAK_HEADER_BYTES = 20;

}  // namespace orlo::sonrel::detail
