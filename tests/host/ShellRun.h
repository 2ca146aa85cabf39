// SPDX-License-Identifier: MIT
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "tests/host/ProgramRun.h"

namespace sonrel_tests {

/// Runs a line of bash in the work folder of a workshop. In it, $sonrel is the program with the
/// cache and the database of the workshop.
/// @param line  without double quotes; a dollar sign needs a backslash
/// @return the exit code
inline int RunBash(const Workshop& shop, const std::string& line) {
    const std::string script = "cd '" + shop.Work("").string() + "'; sonrel='" + SONREL_PROGRAM +
                               " --cache ../cache --db ../media.db'; " + line;
    const int status = std::system(("bash -c \"" + script + "\"").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace sonrel_tests
