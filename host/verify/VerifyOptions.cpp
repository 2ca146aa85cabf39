// SPDX-License-Identifier: MIT
#include "host/verify/VerifyOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareVerifyOptions(CLI::App& command, VerifyOptions& options) {
    command.add_option("MANIFEST", options.manifest, "File that 'sonrel mix --manifest' wrote")
        ->required()
        ->check(InputName());
    command.add_flag("--cached", options.cached, "Use the conformed files of the media cache");
    DeclareJobs(command, options.jobs, "Threads that mix");
    AddNotes(command, EXAMPLES,
             {{"sonrel verify mix.json", "Mix again, and compare with the manifest"}});
    AddNotes(command, EXIT_CODES,
             {{"1", "The mix cannot be made again: a file is missing, or the manifest is wrong"},
              {"3", "Something differs from the manifest"}});
}

}  // namespace orlo::host
