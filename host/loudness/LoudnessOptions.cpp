// SPDX-License-Identifier: MIT
#include "host/loudness/LoudnessOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareLoudnessOptions(CLI::App& command, LoudnessOptions& options) {
    DeclareInputs(command, options.inputs);
    DeclareSound(command, options.sound);
    command
        .add_option("--target", options.target,
                    "Exit 3 when an INPUT has another loudness, -70 to 0 LUFS")
        ->type_name("LUFS")
        ->transform(Number(-70, 0));
    command
        .add_option("--tolerance", options.tolerance,
                    "Distance that --target allows, 0 to 70 LU (default: 1)")
        ->type_name("LU")
        ->transform(Number(0, 70));
    AddNotes(command, EXAMPLES,
             {{"sonrel loudness *.wav", "Measure files"},
              {"sonrel loudness mix.wav --target -23", "Check a mix against -23 LUFS"}});
    AddNotes(
        command, EXIT_CODES,
        {{"3", "A media file is missing, or an INPUT is further from --target than --tolerance"}});
}

}  // namespace orlo::host
