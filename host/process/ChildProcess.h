// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace orlo::host {

/// Searches PATH for a program. Empty parts of PATH, which mean the current folder, are skipped.
/// @return its path; empty when it is not found
std::string FindProgram(const std::string& name);

/// The end of a program.
struct ProgramEnd {
    enum class Kind {
        NotStarted,  ///< code is an errno
        Exited,      ///< code is the exit code
        Signaled,    ///< code is the number of the signal
        TooLate,     ///< it was ended because it ran too long
        Interrupted  ///< it was ended because this program was asked to stop
    };

    Kind kind = Kind::NotStarted;
    int code = 0;
    std::string message;  ///< the end of its standard error, at most 4096 bytes
};

/// Runs another program, without a shell, until it ends. Its standard input is empty, and its
/// standard output is dropped. It is ended together with all programs that it started.
/// @param arguments  the path of the program, and its arguments
/// @param limit      the time that it may run
ProgramEnd RunProgramToEnd(const std::vector<std::string>& arguments,
                           std::chrono::milliseconds limit);

}  // namespace orlo::host
