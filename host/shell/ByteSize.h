// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace orlo::host {

/// Parses a number of bytes: a plain decimal number and a unit, in upper or lower case. K, M, G and
/// T, and KiB to TiB, are powers of 1024; KB to TB are powers of 1000.
/// @return rounded down; nullopt for any other text, and for 2^60 and more
std::optional<long long> ParseSize(std::string_view text);

}  // namespace orlo::host
