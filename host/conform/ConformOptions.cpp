// SPDX-License-Identifier: MIT
#include "host/conform/ConformOptions.h"

#include "host/options/CommandNotes.h"
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
    AddNotes(command, EXAMPLES,
             {{"sonrel conform edit.otio", "Make the conformed files of a timeline"},
              {"sonrel conform *.mp4 --jobs 8", "Convert eight files at the same time"}});
    AddNotes(command, EXIT_CODES,
             {{"3", "A media file is missing, or --strict finds a part that is left out"}});
}

}  // namespace orlo::host
