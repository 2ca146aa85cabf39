// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// Runs a command: prints its result on standard output and, when it fails, a line on standard
/// error.
/// @return the exit code of the process
int RunProgram(int argumentCount, const char* const* arguments);

}  // namespace orlo::host
