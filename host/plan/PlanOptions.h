// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// A command that can be divided.
enum class PlannedCommand { Mix, Conform, Peaks };

/// Who runs the commands of a plan.
enum class PlanFor {
    Parallel,  ///< a shell, GNU parallel, xargs: one command a line
    Slurm,     ///< a script that submits job arrays
    Json,
};

struct PlanOptions {
    PlannedCommand command = PlannedCommand::Mix;
    std::vector<std::string> inputs;
    int shards = 1;
    PlanFor kind = PlanFor::Parallel;
    std::string folder;               ///< of the mixes; empty: the current folder
    bool joins = false;               ///< the commands that join the parts
    std::vector<std::string> passed;  ///< words that every command gets
};

void DeclarePlanOptions(CLI::App& command, PlanOptions& options);

}  // namespace orlo::host
