// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/output/OutputStream.h"

namespace orlo::host {

/// The name of an output that is standard output.
constexpr const char* STANDARD_OUTPUT = "-";

/// Refuses standard output that is closed, a terminal, or used for the report of --json.
/// @param content  of the output: "the sound"
/// @throws JobError or UsageError
void CheckStandardOutput(bool json, const std::string& content);

/// Standard output as a stream. @throws JobError when it is closed
OutputStream OpenStandardOutput();

}  // namespace orlo::host
