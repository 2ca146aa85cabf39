// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

/// The head of a peak file: the magic, the version, the channel count and the block count, then the
/// blocks. Numbers are little-endian, four bytes each.
namespace orlo::sonrel::detail {

constexpr std::string_view PEAK_MAGIC = "ORLOXWPK";
constexpr std::uint32_t PEAK_VERSION = 1;
constexpr long long PEAK_HEADER_BYTES = 20;

}  // namespace orlo::sonrel::detail
