// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sonrel_fuzz {

/// The words of a line, if they can be run: no path leads out of the working folder, no command
/// plays on a device, and no option needs long work. Otherwise empty.
std::vector<std::string> SafeArguments(std::string_view line);

struct RunResult {
    int code = 0;
    std::string errors;  ///< standard error
};

/// Runs a command in this process. Its standard output is dropped.
RunResult Run(const std::vector<std::string>& arguments);

}  // namespace sonrel_fuzz
