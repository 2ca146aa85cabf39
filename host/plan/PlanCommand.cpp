// SPDX-License-Identifier: MIT
#include "host/plan/PlanCommand.h"

#include "host/plan/Plan.h"
#include "host/shell/Errors.h"

namespace orlo::host {

namespace {

Json CommandsJson(const std::vector<CommandWords>& commands) {
    Json list = Json::Array();
    for (const CommandWords& command : commands) list.Append(command);
    return list;
}

std::string Lines(const std::vector<CommandWords>& commands) {
    std::string text;
    for (const CommandWords& command : commands) text += ShellLine(command) + "\n";
    return text;
}

}  // namespace

Outcome RunPlan(const GlobalOptions&, const PlanOptions& options) {
    if (options.joins && options.kind != PlanFor::Parallel) {
        throw UsageError("--joins is for lines of commands; the other formats contain the joins");
    }
    const Plan plan = MakePlan(options);
    Outcome outcome;
    outcome.report["commands"] = CommandsJson(plan.commands);
    outcome.report["joins"] = CommandsJson(plan.joins);
    switch (options.kind) {
        case PlanFor::Parallel:
            outcome.text = Lines(options.joins ? plan.joins : plan.commands);
            break;
        case PlanFor::Slurm:
            outcome.text = SlurmScript(plan);
            break;
        case PlanFor::Json:
            outcome.text = outcome.report.ToIndentedText() + "\n";
            break;
    }
    return outcome;
}

}  // namespace orlo::host
