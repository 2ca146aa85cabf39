// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace orlo::host {

/// A clause with the reason why the argument library refused a command line. Unknown options take
/// precedence, then unexpected arguments in their order, then missing options and wrong values.
/// @param app    the parser after the failed parse
/// @param words  the command line without the program's name
std::string ParseErrorMessage(const CLI::App& app, const std::vector<std::string>& words,
                              const CLI::ParseError& error);

}  // namespace orlo::host
