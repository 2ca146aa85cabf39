// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace orlo::host {

/// Number of terminal columns of a text: 2 for a wide character, 0 for a combining mark.
/// @param text  a result of OneLine
int ColumnsOf(std::string_view text);

/// The characters of a text that fit into @p columns.
std::string CutToColumns(std::string_view text, int columns);

/// CutToColumns, filled with blanks up to exactly @p columns.
std::string FitToColumns(std::string_view text, int columns);

}  // namespace orlo::host
