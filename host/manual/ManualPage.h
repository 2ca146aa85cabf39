// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/manual/CommandTree.h"

namespace orlo::host {

/// A text as it is printed by roff: backslashes, and dots and apostrophes at the start of a line.
/// Minus signs stay ASCII, so that options can be copied.
std::string RoffText(const std::string& text);

/// The manual page of the program: its commands, its global options and its notes.
/// @param version  of the program
std::string ProgramPage(const CommandInfo& program, const std::string& version);

/// The manual page of a command, with the commands below it.
std::string CommandPage(const CommandInfo& program, const CommandInfo& command,
                        const std::string& version);

}  // namespace orlo::host
