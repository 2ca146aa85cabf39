// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// The options of a command line as they are written there, by name: "--seed". A flag has no value.
using GivenOptions = std::map<std::string, std::vector<std::string>>;

/// The options of a command line that its command has parsed.
/// @param command  with the options of the program as its parent
/// @param words    of the command line, without the program
GivenOptions OptionsGiven(const CLI::App& command, const std::vector<std::string>& words);

}  // namespace orlo::host
