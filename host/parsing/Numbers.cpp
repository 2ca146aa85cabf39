// SPDX-License-Identifier: MIT
#include "host/parsing/Numbers.h"

#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>

namespace orlo::host::otio {

namespace {

std::optional<double> ParseNumber(std::string_view text) {
    double number = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
    return number;
}

}  // namespace

std::optional<double> NumberIn(const Json& value) {
    if (value.IsNumber()) return value.AsNumber();
    if (!value.IsString()) return std::nullopt;
    const std::string_view text = value.AsString();
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) return ParseNumber(text);
    const std::optional<double> numerator = ParseNumber(text.substr(0, slash));
    const std::optional<double> denominator = ParseNumber(text.substr(slash + 1));
    if (!numerator || !denominator || *denominator == 0.0) return std::nullopt;
    return *numerator / *denominator;
}

}  // namespace orlo::host::otio
