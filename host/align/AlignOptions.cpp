// SPDX-License-Identifier: MIT
#include "host/align/AlignOptions.h"

#include "host/options/OptionTypes.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

double Correlation(const std::string& text) {
    const std::optional<double> value = ParseDecimal(text);
    if (value && *value <= 1.0) return *value;
    throw CLI::ValidationError("--min-correlation", Quoted(text) + " is not a number from 0 to 1");
}

}  // namespace

void DeclareAlignOptions(CLI::App& command, AlignOptions& options) {
    command.add_option("A B", options.inputs, "Recordings; all are aligned with the first")
        ->required()
        ->check(Name());
    command
        .add_option_function<std::string>(
            "--min-correlation",
            [&options](const std::string& text) { options.minCorrelation = Correlation(text); },
            "Exit 3 when the refined correlation is below X (default: 0.3)")
        ->type_name("X");
    DeclareSound(command, options.sound);
    command.add_option("--plot", options.plot, "Draw both waveforms at the offset")
        ->type_name("FILE.svg");
    command.add_option("--otio", options.otio, "Write a timeline with the recordings in sync")
        ->type_name("FILE.otio");
    DeclareOverwrite(command, options.overwrite);
}

}  // namespace orlo::host
