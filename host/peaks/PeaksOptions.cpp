// SPDX-License-Identifier: MIT
#include "host/peaks/PeaksOptions.h"

#include <limits>

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"
#include "host/shell/Text.h"
#include "sonrel/cache/PeakFile.h"

namespace orlo::host {

namespace {

constexpr int SAMPLES_PER_BLOCK = sonrel::PeakFile::SAMPLES_PER_BLOCK;

/// The number of samples per pixel: whole blocks of a peak file.
CLI::Validator Zoom() {
    const CLI::Validator number = WholeNumber(SAMPLES_PER_BLOCK, std::numeric_limits<int>::max());
    const auto check = [number](std::string& text) -> std::string {
        std::string error = number(text);
        if (!error.empty() || *ParseInteger(text) % SAMPLES_PER_BLOCK == 0) return error;
        return Quoted(text) + " is not a multiple of " + std::to_string(SAMPLES_PER_BLOCK);
    };
    return {check, ""};
}

}  // namespace

void DeclarePeaksOptions(CLI::App& command, PeaksOptions& options) {
    DeclareInputs(command, options.inputs);
    DeclareSound(command, options.sound);
    command.add_option("-o", options.output, "Write to this file instead of the cache")
        ->type_name("FILE.xwpk");
    command
        .add_option("--mode", options.mode,
                    "Threads with -o: auto, single or multi (default: auto)")
        ->type_name("MODE")
        ->transform(OneOf<PeakMode>(
            {{"auto", PeakMode::Auto}, {"single", PeakMode::Single}, {"multi", PeakMode::Multi}}));
    DeclareJobs(command, options.jobs, "Peak files of the cache to make at the same time");
    command.add_option("--export", options.exportFile, "Write waveform data for other programs")
        ->type_name("FILE.json|.dat");
    command
        .add_option("--zoom", options.zoom, "Samples for each pixel of the export (default: 256)")
        ->type_name("N")
        ->transform(Zoom());
    command.add_flag("--force", options.force, "Make existing files again");
    DeclareOverwrite(command, options.overwrite);
    AddNotes(command, EXAMPLES,
             {{"sonrel peaks edit.otio", "Make the peak files of a timeline"},
              {"sonrel peaks take.wav --export take.json", "Export peaks for a web page"}});
    AddNotes(command, EXIT_CODES, {{"3", "A media file is missing"}});
}

}  // namespace orlo::host
