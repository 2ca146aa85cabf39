// SPDX-License-Identifier: MIT
#include "host/shell/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Length in bytes of the first UTF-8 character of @p text; 0 when it is not valid UTF-8.
std::size_t CharacterLength(std::string_view text) {
    for (std::size_t length = 1; length <= std::min<std::size_t>(4, text.size()); ++length) {
        try {
            zrtl::FromUtf8(text.substr(0, length));
            return length;
        } catch (const std::invalid_argument&) {
        }
    }
    return 0;
}

std::string Escape(char byte) {
    switch (byte) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
    }
    char text[8];
    std::snprintf(text, sizeof(text), "\\x%02x", static_cast<unsigned>(byte) & 0xFFu);
    return text;
}

}  // namespace

std::string OneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text.front());
        const std::size_t length = first < 0x80 ? 1 : CharacterLength(text);
        // The second block of controls, U+0080 to U+009F, is C2 80 to C2 9F in UTF-8.
        const bool control =
            first < 0x20 || first == 0x7F ||
            (first == 0xC2 && length == 2 && static_cast<unsigned char>(text[1]) < 0xA0);
        if (length == 0 || control) {
            for (std::size_t i = 0; i < std::max<std::size_t>(length, 1); ++i) {
                line += Escape(text[i]);
            }
        } else {
            line.append(text.substr(0, length));
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return line;
}

std::string Quoted(std::string_view text) {
    return '\'' + OneLine(text) + '\'';
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter | 0x20);
    }
    return lower;
}

std::optional<double> ParseDecimal(std::string_view text) {
    const bool digitsAndPoint = std::all_of(text.begin(), text.end(), [](char character) {
        return IsDigit(character) || character == '.';
    });
    if (!digitsAndPoint || text.empty() || !IsDigit(text.front()) || !IsDigit(text.back())) {
        return std::nullopt;
    }
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<long long> ParseInteger(std::string_view text) {
    long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::string FormatNumber(double value, int decimals) {
    char text[400];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    std::string number = text;
    if (number.find('.') != std::string::npos) {
        number.erase(number.find_last_not_of('0') + 1);
        if (number.back() == '.') number.pop_back();
    }
    return number == "-0" ? "0" : number;
}

std::string FormatShort(double value) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.9g", value);
    return text;
}

std::string FormatDuration(double seconds) {
    const long long totalMs = std::llround(seconds * 1000.0);
    char text[64];
    std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld.%03lld", totalMs / 3600000,
                  totalMs / 60000 % 60, totalMs / 1000 % 60, totalMs % 1000);
    return text;
}

}  // namespace orlo::host
