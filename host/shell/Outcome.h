// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/json/Json.h"
#include "host/shell/Errors.h"

namespace orlo::host {

/// What a command has to say: one object for programs, and the same as text for people.
struct Outcome {
    Json report = Json::Object();
    std::string text;  ///< lines, each with its line feed
    ExitCode code = ExitCode::Done;
    std::string error;  ///< one clause unless code is Done

    /// Ends the command with a code other than Done, though there is something to report.
    void Fail(ExitCode failure, const std::string& clause) {
        code = failure;
        error = clause;
        report["error"] = clause;
    }
};

}  // namespace orlo::host
