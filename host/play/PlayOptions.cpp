// SPDX-License-Identifier: MIT
#include "host/play/PlayOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclarePlayOptions(CLI::App& command, PlayOptions& options) {
    DeclareInput(command, options.input, "Timeline or media file");
    command
        .add_option("--from", options.from, "First position (default: 0; with --reverse the last)")
        ->type_name("P");
    command.add_flag("--reverse", options.reverse, "Play backward");
    command.add_option("--speed", options.speed, "1, 2, 3 or 4 times normal speed (default: 1)")
        ->type_name("N")
        ->transform(WholeNumber(1, 4));
    command.add_flag("--meters", options.meters, "Show levels");
    command.add_flag("--events", options.events, "Print events as JSON lines");
    command
        .add_option("--output", options.output, "Sound device, null output or file (default: sdl)")
        ->type_name("sdl|null|FILE")
        ->check(Name());
    command
        .add_option("--buffer", options.bufferMs,
                    "Buffer of the sound device in ms, 5 to 500 (default: 40)")
        ->type_name("MS")
        ->transform(WholeNumber(5, 500));
    DeclareAudioFrom(command, options.audioFrom);
    DeclareSound(command, options.sound);
    DeclareDither(command, options.dither, options.seed);
    DeclareStrict(command, options.strict);
    DeclareOverwrite(command, options.overwrite);
    AddNotes(command, "Keys",
             {{"l, j", "Play forward, or backward; pressed again: faster"},
              {"k", "Pause"},
              {"space", "Pause or continue"},
              {"left, right", "Move by a second; in a pause by a frame"},
              {"up, down", "Move by ten seconds"},
              {"q", "Quit"}});
    AddNotes(command, EXAMPLES,
             {{"sonrel play edit.otio --from 00:00:10:00 --meters", "Play, and show the levels"},
              {"sonrel play edit.otio --output play.wav", "Write the samples to a file"}});
    AddNotes(
        command, EXIT_CODES,
        {{"1", "The job failed, or the sound device is lost or takes no samples for 5 seconds"},
         {"3", "A media file is missing, or --strict finds a part that is left out"}});
}

}  // namespace orlo::host
