// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/json/Json.h"
#include "host/shell/Errors.h"

namespace orlo::host {

/// The result of a command, as a JSON object and as text.
struct Outcome {
    Json report = Json::Object();
    std::string text;  ///< lines, each with a line feed
    ExitCode code = ExitCode::Done;
    std::string error;                 ///< a clause; empty when code is Done
    bool textToStandardError = false;  ///< standard output has the sound

    /// Makes the command fail with a code other than Done; the report is still printed.
    void Fail(ExitCode failure, const std::string& clause) {
        code = failure;
        error = clause;
        report["error"] = clause;
    }
};

}  // namespace orlo::host
