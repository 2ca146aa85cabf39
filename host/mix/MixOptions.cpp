// SPDX-License-Identifier: MIT
#include "host/mix/MixOptions.h"

#include "host/options/OptionTypes.h"

namespace orlo::host {

namespace {

void DeclareOutputs(CLI::App& command, MixOptions& options) {
    command
        .add_option("-o", options.output,
                    "Sound file to write: .wav, .flac, .ogg, .opus, .w64, .aiff or .caf")
        ->required()
        ->type_name("OUT.wav")
        ->check(Name());
    command.add_option("--stems", options.stems, "Also write each track to a separate file")
        ->type_name("DIR")
        ->check(Name());
    command.add_option("--meters", options.meters, "Write all blocks of all meters")
        ->type_name("FILE.json");
    DeclareOverwrite(command, options.overwrite);
}

void DeclareSource(CLI::App& command, MixOptions& options) {
    command.add_option("--from", options.from, "First position (default: 0)")->type_name("P");
    command.add_option("--to", options.to, "Position after the last one (default: the end)")
        ->type_name("P");
    command.add_option("--composition", options.composition, "Mix only the nested item NAME")
        ->type_name("NAME");
    command
        .add_option("--retime", options.retime,
                    "Length of a retimed clip: otio (on its track) or media (default: otio)")
        ->type_name("MODE")
        ->transform(
            OneOf<otio::Retime>({{"otio", otio::Retime::Otio}, {"media", otio::Retime::Media}}));
    command
        .add_option("--audio-from", options.soundFromVideo,
                    "Tracks to mix: audio or video (default: audio)")
        ->type_name("KIND")
        ->transform(OneOf<bool>({{"audio", false}, {"video", true}}));
}

void DeclareLoudness(CLI::App& command, MixOptions& options) {
    command.add_option("--normalize", options.normalize, "Loudness of the mix, -70 to 0 LUFS")
        ->type_name("LUFS")
        ->transform(Number(-70, 0));
    command
        .add_option("--true-peak", options.truePeak,
                    "Limit of the true peak for --normalize, -60 to 0 dBTP (default: -1)")
        ->type_name("DBTP")
        ->transform(Number(-60, 0));
}

}  // namespace

void DeclareMixOptions(CLI::App& command, MixOptions& options) {
    DeclareInput(command, options.input, "Timeline or media file");
    DeclareOutputs(command, options);
    DeclareSource(command, options);
    DeclareSound(command, options.sound);
    DeclareDither(command, options.dither, options.seed);
    DeclareLoudness(command, options);
    command.add_flag("--fail-on-clip", options.failOnClip, "Exit 3 when the mix clips");
    DeclareStrict(command, options.strict);
}

}  // namespace orlo::host
