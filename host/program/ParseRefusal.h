// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace orlo::host {

/// Explains in one clause why the arguments library refuses a command line. Unknown options come
/// first, then unexpected arguments in their order, then what is missing.
std::string ExplainRefusal(const CLI::App& app, const CLI::ParseError& error);

}  // namespace orlo::host
