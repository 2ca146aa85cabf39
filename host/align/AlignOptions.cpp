// SPDX-License-Identifier: MIT
#include "host/align/AlignOptions.h"

#include "host/align/SyncOptions.h"
#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

double Correlation(const std::string& text) {
    const std::optional<double> value = ParseDecimal(text);
    if (value && *value <= 1.0) return *value;
    throw CLI::ValidationError("--min-correlation", Quoted(text) + " is not a number from 0 to 1");
}

/// Declares the options that align and sync share.
void DeclareShared(CLI::App& command, AlignOptions& options, bool needsTimeline) {
    command
        .add_option_function<std::string>(
            "--min-correlation",
            [&options](const std::string& text) { options.minCorrelation = Correlation(text); },
            "Exit 3 when the refined correlation is below X (default: 0.3)")
        ->type_name("X");
    DeclareSound(command, options.sound);
    DeclareJobs(command, options.jobs, "Recordings to prepare at the same time");
    command.add_option("--plot", options.plot, "Draw both waveforms at the offset")
        ->type_name("FILE.svg");
    command.add_option("--otio", options.otio, "Write a timeline with the recordings in sync")
        ->type_name("FILE.otio")
        ->required(needsTimeline);
    DeclareOverwrite(command, options.overwrite);
}

void AddAlignExitCodes(CLI::App& command) {
    AddNotes(command, EXIT_CODES,
             {{"1", "The job failed, or a recording cannot be read; the others are aligned"},
              {"3", "A recording is not aligned with the first"}});
}

}  // namespace

void DeclareAlignOptions(CLI::App& command, AlignOptions& options) {
    command.add_option("A B", options.inputs, "Recordings; all are aligned with the first")
        ->required()
        ->check(Name());
    DeclareShared(command, options, false);
    AddNotes(command, EXAMPLES,
             {{"sonrel align camera.mp4 recorder.wav", "Print the offset between two recordings"},
              {"sonrel align a.wav b.wav c.wav --otio sync.otio --json",
               "Align two recordings with a.wav, and write a timeline"}});
    AddAlignExitCodes(command);
}

void DeclareSyncOptions(CLI::App& command, SyncOptions& options) {
    command.add_option("INPUT", options.inputs, "Folders of recordings, and recordings")
        ->required()
        ->check(Name());
    command
        .add_option("--reference", options.reference,
                    "Recording that the others are aligned with (default: the longest without "
                    "picture)")
        ->type_name("FILE")
        ->check(Name());
    DeclareShared(command, options, true);
    AddNotes(command, EXAMPLES,
             {{"sonrel sync day-1/ --otio day-1.otio", "Sync the recordings of a folder"},
              {"sonrel sync a/ b/ --reference rec.wav --otio day.otio",
               "Sync two folders to a recording"}});
    AddAlignExitCodes(command);
}

}  // namespace orlo::host
