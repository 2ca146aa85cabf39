// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace orlo::host {

/// One clause that explains why the argument library refused a command line. Unknown options come
/// first, then unexpected arguments in their order, then what is missing or wrong.
/// @param app    after the failed parse
/// @param words  of the command line, without the program's name
std::string ParseErrorMessage(const CLI::App& app, const std::vector<std::string>& words,
                              const CLI::ParseError& error);

}  // namespace orlo::host
