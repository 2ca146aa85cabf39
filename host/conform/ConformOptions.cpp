// SPDX-License-Identifier: MIT
#include "host/conform/ConformOptions.h"

#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareConformOptions(CLI::App& command, ConformOptions& options) {
    DeclareInputs(command, options.inputs);
    DeclareSound(command, options.sound);
    command.get_option("INPUT")->check([](const std::string& input) {
        return input == "-" ? "standard input has no file in the cache; name a file" : "";
    });
    DeclareJobs(command, options.jobs, "Files to convert at the same time");
    command.add_flag("--all-codecs", options.allCodecs, "Do not skip files of any codec");
    command.add_flag("--force", options.force, "Make existing files again");
    DeclareAudioFrom(command, options.audioFrom);
    DeclareStrict(command, options.strict);
}

}  // namespace orlo::host
