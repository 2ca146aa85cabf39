// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/manual/CommandTree.h"

/// Completions of the command line, as scripts of the shells. All complete commands, options, words
/// and the names of files and folders; the shell quotes the names.
namespace orlo::host {

std::string BashCompletion(const CommandInfo& program);
std::string ZshCompletion(const CommandInfo& program);
std::string FishCompletion(const CommandInfo& program);

/// A text in single quotes for bash and zsh.
std::string SingleQuoted(const std::string& text);
/// A text in single quotes for fish.
std::string FishQuoted(const std::string& text);
/// A text inside the brackets and between the colons of an option of zsh's _arguments.
std::string ZshText(const std::string& text);

}  // namespace orlo::host
