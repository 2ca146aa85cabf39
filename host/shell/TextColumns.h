// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orlo::host {

/// Number of terminal columns of a text: 2 for a wide character, 0 for a combining mark.
/// @param text  a result of OneLine
int ColumnsOf(std::string_view text);

/// The characters of a text that fit into @p columns.
std::string CutToColumns(std::string_view text, int columns);

/// CutToColumns, filled with blanks up to exactly @p columns.
std::string FitToColumns(std::string_view text, int columns);

/// Divides a text at blanks into lines of at most @p columns. A longer word is divided.
/// @param columns  2 or more
/// @return at least one line, without blanks at its ends
std::vector<std::string> WrapToColumns(std::string_view text, int columns);

/// The lines of WrapToColumns after blanks. A line with its blanks has at most @p columns.
/// @param first  blanks before the first line
/// @param next   blanks before the others, at least @p first and less than @p columns - 2
std::string IndentedLines(std::string_view text, int first, int next, int columns);

}  // namespace orlo::host
