// SPDX-License-Identifier: MIT
#include "host/plan/PlanOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

namespace {

constexpr int MAX_SHARDS = 100000;

}  // namespace

void DeclarePlanOptions(CLI::App& command, PlanOptions& options) {
    command.add_option("COMMAND", options.command, "mix, conform or peaks")
        ->required()
        ->transform(OneOf<PlannedCommand>({{"mix", PlannedCommand::Mix},
                                           {"conform", PlannedCommand::Conform},
                                           {"peaks", PlannedCommand::Peaks}}));
    DeclareInputs(command, options.inputs);
    command.get_option("INPUT")->check([](const std::string& input) {
        return input == "-" ? "standard input cannot be read again; name a file" : "";
    });
    command
        .add_option("--shards", options.shards,
                    "Parts of each mix, or groups of INPUTs (default: 1)")
        ->type_name("N")
        ->transform(WholeNumber(1, MAX_SHARDS));
    command
        .add_option("--for", options.kind,
                    "Format of the plan: parallel, slurm or json (default: parallel)")
        ->type_name("KIND")
        ->transform(OneOf<PlanFor>(
            {{"parallel", PlanFor::Parallel}, {"slurm", PlanFor::Slurm}, {"json", PlanFor::Json}}));
    command.add_option("-o", options.folder, "Folder of the mixes (default: this folder)")
        ->type_name("DIR")
        ->check(Name());
    command.add_flag("--joins", options.joins, "Print the commands that join the parts instead");
    command.add_option("--pass", options.passed, "Add WORD to every command, as --pass=--seed=3")
        ->type_name("WORD")
        ->take_all()
        ->allow_extra_args(false);
    AddNotes(command, EXAMPLES,
             {{"sonrel plan mix edit.otio --shards 8 | parallel", "Mix in eight parts"},
              {"sonrel plan conform *.otio --shards 4 --for slurm", "Convert on four machines"}});
}

}  // namespace orlo::host
