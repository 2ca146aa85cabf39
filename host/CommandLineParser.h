// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <variant>

#include "host/Options.h"

namespace orlo::host {

/// A text that was asked for instead of a command: help or the version.
struct HelpText {
    std::string text;
};

/// Reads the command line.
/// @throws UsageError with one clause of our own where it is wrong
std::variant<CommandLine, HelpText> ParseCommandLine(int argumentCount,
                                                     const char* const* arguments);

/// Whether the caller asked for JSON, also on a command line that cannot be read.
bool WantsJson(int argumentCount, const char* const* arguments);

}  // namespace orlo::host
