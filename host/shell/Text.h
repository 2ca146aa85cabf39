// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orlo::host {

/// Makes a text safe to print within a line of UTF-8: control characters and bytes that are not
/// UTF-8 become escapes such as \n and \x1b.
std::string OneLine(std::string_view text);

/// A path or name in quotation marks, made safe by OneLine.
std::string Quoted(std::string_view text);

/// A text with the letters A to Z in lower case.
std::string LowerCase(std::string_view text);

/// Parses a plain decimal number, "12" or "12.5", without sign, exponent or blanks. The result does
/// not depend on the locale.
/// @return a finite number; nullopt for any other text
std::optional<double> ParseDecimal(std::string_view text);

/// Parses a decimal integer with an optional minus sign.
/// @return nullopt when the text is not an integer or does not fit into 64 bits
std::optional<long long> ParseInteger(std::string_view text);

/// A number with at most @p decimals digits after the point, without trailing zeros.
std::string FormatNumber(double value, int decimals);

/// A number of any size with nine significant digits: "29.97", "1e-09".
std::string FormatShort(double value);

/// A length as hours, minutes, seconds and milliseconds: "0:01:02.500".
std::string FormatDuration(double seconds);

}  // namespace orlo::host
