// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// A parsed command line. Positions are still text, since they need the rates of the timeline.
struct CommandLine {
    GlobalOptions global;
    std::vector<std::string> words;  ///< without the program
    /// Runs the command with the parsed options.
    std::function<Outcome(const GlobalOptions& global)> run;
};

/// A requested text instead of a command: the help or the version.
struct HelpText {
    std::string text;
};

/// Declares the options and commands of the program.
/// @param app   an empty parser
/// @param line  receives the result of a parse
void DeclareCommandLine(CLI::App& app, CommandLine& line);

/// Parses the command line.
/// @throws UsageError with a clause that names the fault
std::variant<CommandLine, HelpText> ParseCommandLine(int argumentCount,
                                                     const char* const* arguments);

/// Whether the caller asked for JSON, also on a command line that cannot be read.
bool WantsJson(int argumentCount, const char* const* arguments);

}  // namespace orlo::host
