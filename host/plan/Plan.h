// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/plan/PlanOptions.h"

namespace orlo::host {

/// A command line: the program and its arguments.
using CommandWords = std::vector<std::string>;

/// Commands that together do the work of one, each on any machine and in any order.
struct Plan {
    std::vector<CommandWords> commands;
    std::vector<CommandWords> joins;  ///< to be run after all commands
};

/// Divides a command. All paths are absolute, and a command that is repeated writes the same bytes.
/// @throws UsageError for inputs that cannot be planned; JobError for an input that does not exist
Plan MakePlan(const PlanOptions& options);

/// A word for a shell of POSIX: in single quotation marks where it needs them.
std::string ShellQuoted(const std::string& word);

/// A command on one line for a shell. @throws UsageError for a word with a line break
std::string ShellLine(const CommandWords& command);

/// A script for a shell that submits the plan to Slurm: an array of jobs for the commands, and for
/// the joins an array that starts when all commands have ended. Prints the numbers of the arrays.
std::string SlurmScript(const Plan& plan);

}  // namespace orlo::host
