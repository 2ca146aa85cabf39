// SPDX-License-Identifier: MIT
#include "host/mix/JoinOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareJoinOptions(CLI::App& command, JoinOptions& options) {
    command.add_option("PART", options.parts, "Parts of one mix, in any order")
        ->required()
        ->check(InputName());
    command
        .add_option("-o", options.output,
                    "Sound file to write: .wav, .flac, .ogg, .opus, .w64, .aiff or .caf")
        ->required()
        ->type_name("OUT.wav")
        ->check(Name());
    command.add_option("--meters", options.meters, "Write all blocks of all meters")
        ->type_name("FILE.json");
    command.add_flag("--fail-on-clip", options.failOnClip, "Exit 3 when the mix clips");
    DeclareOverwrite(command, options.overwrite);
    AddNotes(command, EXAMPLES,
             {{"sonrel join part-*.wav -o mix.wav", "Join the parts that mix --part wrote"}});
    AddNotes(command, EXIT_CODES, {{"3", "The mix clips with --fail-on-clip"}});
}

}  // namespace orlo::host
