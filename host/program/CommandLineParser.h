// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <variant>

#include "host/options/GlobalOptions.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// A command line that was read. Positions are still text: they need the rates of the timeline.
struct CommandLine {
    GlobalOptions global;
    /// Runs the command with the options that were read.
    std::function<Outcome(const GlobalOptions& global)> run;
};

/// A text that was asked for instead of a command: help or the version.
struct HelpText {
    std::string text;
};

/// Reads the command line.
/// @throws UsageError with one clause where it is wrong
std::variant<CommandLine, HelpText> ParseCommandLine(int argumentCount,
                                                     const char* const* arguments);

/// Whether the caller asked for JSON, also on a command line that cannot be read.
bool WantsJson(int argumentCount, const char* const* arguments);

}  // namespace orlo::host
