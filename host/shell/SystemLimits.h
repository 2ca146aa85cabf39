// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <system_error>

namespace orlo::host {

/// Refuses a command that would begin with less address space than any of them takes. The libraries
/// for media and pictures crash, or report other causes, where an allocation fails.
/// @throws JobError
void RequireMemory();

/// Why a job that opens files may have failed, for a failure that says nothing about its cause.
/// @return a clause with its remedy; empty when this process can open 8 files more
std::string DescriptorErrorMessage();

/// A clause about a system call that failed, with its remedy.
std::string SystemErrorText(const std::system_error& error);

}  // namespace orlo::host
