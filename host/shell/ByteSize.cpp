// SPDX-License-Identifier: MIT
#include "host/shell/ByteSize.h"

#include <cmath>
#include <string>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr double MAX_SIZE = 1152921504606846976.0;  // 2^60

/// Bytes of a unit in lower case; nullopt for any other text.
std::optional<double> BytesOf(const std::string& unit) {
    if (unit.empty()) return 1.0;
    const std::size_t power = std::string("kmgt").find(unit.front()) + 1;
    const std::string rest = unit.substr(1);
    if (power == 0) return std::nullopt;
    if (rest.empty() || rest == "ib") return std::pow(1024.0, static_cast<double>(power));
    if (rest == "b") return std::pow(1000.0, static_cast<double>(power));
    return std::nullopt;
}

}  // namespace

std::optional<long long> ParseSize(std::string_view text) {
    const std::size_t length = text.find_last_of("0123456789") + 1;
    const std::optional<double> number = ParseDecimal(text.substr(0, length));
    const std::optional<double> unit = BytesOf(LowerCase(text.substr(length)));
    if (!number || !unit || *number * *unit >= MAX_SIZE) return std::nullopt;
    return static_cast<long long>(*number * *unit);
}

}  // namespace orlo::host
