// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// The work that a command does at the same time, from --jobs.
struct JobsOption {
    std::optional<int> number;

    /// The number of jobs; without the option one for each core that the process may use.
    int Count() const;
};

/// Declares --jobs. @param description  names the jobs: "Files to convert at the same time"
void DeclareJobs(CLI::App& command, JobsOption& jobs, const std::string& description);

}  // namespace orlo::host
