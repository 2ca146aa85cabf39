// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orlo::host {

/// A text that is safe to print as part of one line of UTF-8: control characters and bytes that are
/// not UTF-8 appear as escapes such as \n and \x1b.
std::string OneLine(std::string_view text);

/// A path or name in quotation marks, made safe by OneLine.
std::string Quoted(std::string_view text);

/// Reads a whole text as a plain decimal number, "12" or "12.5", without sign, exponent or blanks.
/// The result does not depend on any locale.
/// @return the number, which is finite, or nothing
std::optional<double> ParseDecimal(std::string_view text);

/// Reads a whole text as a decimal integer with an optional minus sign.
/// @return the number, or nothing when the text is none or does not fit
std::optional<long long> ParseInteger(std::string_view text);

/// A number with at most @p decimals digits behind the point, without needless zeros.
std::string FormatNumber(double value, int decimals);

/// A number with nine digits that count, of any size: "29.97", "1e-09".
std::string FormatShort(double value);

/// A length as hours, minutes, seconds and milliseconds: "0:01:02.500".
std::string FormatDuration(double seconds);

}  // namespace orlo::host
