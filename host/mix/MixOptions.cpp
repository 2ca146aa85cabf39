// SPDX-License-Identifier: MIT
#include "host/mix/MixOptions.h"

#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// The share in "3/8".
PartChoice Part(const std::string& text) {
    const std::size_t slash = text.find('/');
    const std::optional<long long> number = ParseInteger(text.substr(0, slash));
    const std::optional<long long> count =
        slash == std::string::npos ? std::nullopt : ParseInteger(text.substr(slash + 1));
    if (number && count && *number >= 1 && *number <= *count && *count <= MAX_PARTS) {
        return {static_cast<int>(*number), static_cast<int>(*count)};
    }
    throw CLI::ValidationError("--part", Quoted(text) + " is not a part such as 3/8, of at most " +
                                             std::to_string(MAX_PARTS) + " parts");
}

void DeclarePart(CLI::App& command, std::optional<PartChoice>& part) {
    command
        .add_option_function<std::string>(
            "--part", [&part](const std::string& text) { part = Part(text); },
            "Mix only the part I of N, for 'sonrel join'")
        ->type_name("I/N");
}

/// Any spelling of a number, so that a gain of a report is read exactly: "-1.5e-05" too.
double Gain(const std::string& text) {
    constexpr double MAX_GAIN = 200.0;
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && rest == end && std::abs(value) <= MAX_GAIN) return value;
    throw CLI::ValidationError("--gain", Quoted(text) + " is not a number from -200 to 200");
}

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
    command
        .add_option("--manifest", options.manifest,
                    "Write everything that decides the samples, for 'sonrel verify'")
        ->type_name("FILE.json")
        ->check(Name());
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
    DeclareAudioFrom(command, options.audioFrom);
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
    command
        .add_option_function<std::string>(
            "--gain", [&options](const std::string& text) { options.gain = Gain(text); },
            "Gain of the mix, -200 to 200 dB (default: 0)")
        ->type_name("DB");
}

}  // namespace

void DeclareMixOptions(CLI::App& command, MixOptions& options) {
    DeclareInput(command, options.input, "Timeline or media file");
    DeclareOutputs(command, options);
    DeclareSource(command, options);
    DeclareSound(command, options.sound);
    DeclareDither(command, options.dither, options.seed);
    DeclareLoudness(command, options);
    DeclareJobs(command, options.jobs, "Threads that mix");
    DeclarePart(command, options.part);
    command.add_flag("--fail-on-clip", options.failOnClip, "Exit 3 when the mix clips");
    DeclareStrict(command, options.strict);
    AddNotes(
        command, EXAMPLES,
        {{"sonrel mix edit.otio -o mix.wav", "Mix a timeline"},
         {"sonrel mix edit.otio -o mix.flac --normalize -23", "Mix to a loudness of -23 LUFS"},
         {"sonrel mix edit.otio -o mix.wav --stems stems", "Also write a file for each track"},
         {"sonrel mix edit.otio -o - | ffmpeg -i - mix.mp3", "Pass the mix to another program"}});
    AddNotes(command, EXIT_CODES,
             {{"3",
               "A media file is missing, the mix clips with --fail-on-clip, or --strict finds a "
               "part that is left out"}});
}

}  // namespace orlo::host
