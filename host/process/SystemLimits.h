// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <system_error>

namespace orlo::host {

/// Refuses a command when less address space is free than every command needs. The libraries for
/// media and pictures crash, or report other causes, when an allocation fails.
/// @throws JobError
void RequireMemory();

/// A possible cause of a failure that was reported without a cause: too many open files.
/// @return a clause with the remedy; empty when this process can open 8 more files
std::string DescriptorErrorMessage();

/// A clause about a failed system call, with the remedy.
std::string SystemErrorText(const std::system_error& error);

}  // namespace orlo::host
