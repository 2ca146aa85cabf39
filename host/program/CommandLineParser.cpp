// SPDX-License-Identifier: MIT
#include "host/program/CommandLineParser.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <limits>
#include <string_view>

#include "host/peaks/PeakExport.h"
#include "host/play/PlayOutput.h"
#include "host/program/ParseRefusal.h"
#include "host/program/Version.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr int MAX_JOBS = 256;
constexpr int SAMPLES_PER_BLOCK = 32;

/// Everything as it was typed. Our own checks follow, so that each message names the option, what
/// stood there and what may stand there.
struct RawOptions {
    std::string progress = "auto";
    std::string rate;
    std::string fps;
    std::string keepDays;
    std::vector<std::string> mediaRoots;

    std::string minCorrelation;
    std::string jobs;
    std::string dither = "highpass";
    std::string seed = "1";
    std::string audioFrom = "audio";
    std::string retime = "otio";
    std::string speed = "1";
    std::string buffer;
    std::string days;

    std::string peakMode = "auto";
    std::string zoom = "256";

    std::string size = "1800x280";
    std::string style = "rms";
    std::string scale = "linear";
    std::string format = "argb32";
    std::string color = "000000FF";
    std::string background = "00000000";
};

/// What the parser fills.
struct Target {
    GlobalOptions global;
    AlignOptions align;
    InfoOptions info;
    ConformOptions conform;
    MixOptions mix;
    PeaksOptions peaks;
    PlayOptions play;
    WaveformOptions waveform;
    CacheOptions cache;
    RawOptions raw;
    std::function<CommandOptions(Target&)> chosen;
};

template <class Value>
Value Choose(const std::string& option, const std::string& text,
             const std::vector<std::pair<std::string, Value>>& choices) {
    std::string names;
    for (const auto& [name, value] : choices) {
        if (name == text) return value;
        names += (names.empty() ? "" : ", ") + name;
    }
    throw UsageError(option + " " + Quoted(text) + " is none of " + names);
}

long long WholeNumber(const std::string& option, const std::string& text, long long least,
                      long long most) {
    const std::optional<long long> value = ParseInteger(text);
    if (value && *value >= least && *value <= most) return *value;
    throw UsageError(option + " " + Quoted(text) + " is no whole number from " +
                     std::to_string(least) + " to " + std::to_string(most));
}

otio::MediaRoot ParseMediaRoot(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos) {
        throw UsageError("--media-root " + Quoted(text) + " is not of the form OLD=NEW");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

void CheckGlobals(Target& target) {
    GlobalOptions& global = target.global;
    const RawOptions& raw = target.raw;
    global.progress = Choose<ProgressMode>(
        "--progress", raw.progress,
        {{"auto", ProgressMode::Auto}, {"json", ProgressMode::Json}, {"none", ProgressMode::None}});
    if (!raw.rate.empty()) {
        global.rate = static_cast<int>(WholeNumber("--rate", raw.rate, 64, 768000));
    }
    if (!raw.fps.empty()) {
        global.fps = ParseDecimal(raw.fps);
        if (!global.fps || *global.fps <= 0.0) {
            throw UsageError("--fps " + Quoted(raw.fps) + " is no frame rate above 0");
        }
    }
    if (!raw.keepDays.empty()) {
        global.keepDays = static_cast<int>(
            WholeNumber("--keep-days", raw.keepDays, 0, std::numeric_limits<int>::max()));
    }
    for (const std::string& root : raw.mediaRoots) {
        global.mediaRoots.push_back(ParseMediaRoot(root));
    }
    if (global.noCacheDb && !(global.cacheFolder.empty() && global.databaseFile.empty())) {
        throw UsageError("--no-cache-db does not go with --cache or --db");
    }
}

void CheckInput(const std::string& input) {
    if (input.empty()) throw UsageError("an empty name is no INPUT");
}

CommandOptions FinishAlign(Target& target) {
    AlignOptions& align = target.align;
    if (align.inputs.size() < 2) throw UsageError("align needs two recordings or more");
    for (const std::string& input : align.inputs) CheckInput(input);
    if (!target.raw.minCorrelation.empty()) {
        const std::optional<double> least = ParseDecimal(target.raw.minCorrelation);
        if (!least || *least > 1.0) {
            throw UsageError("--min-correlation " + Quoted(target.raw.minCorrelation) +
                             " is no number from 0 to 1");
        }
        align.minCorrelation = *least;
    }
    if (target.global.noCacheDb) {
        throw UsageError("align has nowhere to put its files with --no-cache-db");
    }
    return align;
}

CommandOptions FinishInfo(Target& target) {
    CheckInput(target.info.input);
    return target.info;
}

CommandOptions FinishConform(Target& target) {
    for (const std::string& input : target.conform.inputs) CheckInput(input);
    if (!target.raw.jobs.empty()) {
        target.conform.jobs = static_cast<int>(WholeNumber("--jobs", target.raw.jobs, 1, MAX_JOBS));
    }
    if (target.global.noCacheDb) {
        throw UsageError("conform has nowhere to put its files with --no-cache-db");
    }
    return target.conform;
}

DitherChoice ChooseDither(const std::string& text) {
    return Choose<DitherChoice>("--dither", text,
                                {{"none", DitherChoice::None},
                                 {"triangular", DitherChoice::Triangular},
                                 {"highpass", DitherChoice::HighPass}});
}

unsigned int ChooseSeed(const std::string& text) {
    // 0 is the engine's own sign for a seed from the clock, which has its word here.
    if (text == "random") return 0;
    return static_cast<unsigned int>(
        WholeNumber("--seed", text, 1, std::numeric_limits<std::uint32_t>::max()));
}

CommandOptions FinishMix(Target& target) {
    MixOptions& mix = target.mix;
    const RawOptions& raw = target.raw;
    CheckInput(mix.input);
    if (mix.output.empty()) throw UsageError("an empty name is no output file for -o");
    mix.dither = ChooseDither(raw.dither);
    mix.seed = ChooseSeed(raw.seed);
    mix.soundFromVideo =
        Choose<bool>("--audio-from", raw.audioFrom, {{"audio", false}, {"video", true}});
    mix.retime = Choose<otio::Retime>(
        "--retime", raw.retime, {{"otio", otio::Retime::Otio}, {"media", otio::Retime::Media}});
    if (mix.stems && mix.stems->empty()) {
        throw UsageError("an empty name is no folder for --stems");
    }
    return mix;
}

CommandOptions FinishPeaks(Target& target) {
    PeaksOptions& peaks = target.peaks;
    for (const std::string& input : peaks.inputs) CheckInput(input);
    peaks.mode = Choose<PeakMode>(
        "--mode", target.raw.peakMode,
        {{"auto", PeakMode::Auto}, {"single", PeakMode::Single}, {"multi", PeakMode::Multi}});
    peaks.zoom = static_cast<int>(
        WholeNumber("--zoom", target.raw.zoom, SAMPLES_PER_BLOCK, std::numeric_limits<int>::max()));
    if (peaks.zoom % SAMPLES_PER_BLOCK != 0) {
        throw UsageError("--zoom " + Quoted(target.raw.zoom) + " is no multiple of 32");
    }
    if (!peaks.exportFile.empty()) PeakExportFormatOf(peaks.exportFile);
    const bool single = !peaks.output.empty() || !peaks.exportFile.empty();
    if (single && peaks.inputs.size() > 1) {
        throw UsageError(std::string(peaks.output.empty() ? "--export" : "-o") +
                         " takes one INPUT");
    }
    if (peaks.force && (target.global.noCacheDb || !peaks.output.empty())) {
        throw UsageError(
            "--force makes files of the cache anew; it does not go with -o or "
            "--no-cache-db");
    }
    if (target.global.noCacheDb && !single) {
        throw UsageError("peaks has nowhere to put its files with --no-cache-db; name one with -o");
    }
    return peaks;
}

/// @param text  of --buffer; empty when it was not given
int ChooseBuffer(const std::string& text, const std::string& output) {
    if (text.empty()) return 0;
    if (output != PlayOutput::DEVICE) {
        throw UsageError(
            "--buffer sets the buffer of the sound device; leave it out with --output " +
            Quoted(output));
    }
    return static_cast<int>(WholeNumber("--buffer", text, 5, 500));
}

CommandOptions FinishPlay(Target& target) {
    PlayOptions& play = target.play;
    CheckInput(play.input);
    if (play.output.empty()) throw UsageError("an empty name is no output file for --output");
    if (play.events && target.global.json) {
        throw UsageError("--events prints lines of its own and does not go with --json");
    }
    play.speed = static_cast<int>(WholeNumber("--speed", target.raw.speed, 1, 4));
    play.bufferMs = ChooseBuffer(target.raw.buffer, play.output);
    play.dither = ChooseDither(target.raw.dither);
    play.seed = ChooseSeed(target.raw.seed);
    return play;
}

CommandOptions FinishWaveform(Target& target) {
    using sonrel::WaveformPreview;
    WaveformOptions& waveform = target.waveform;
    const RawOptions& raw = target.raw;
    CheckInput(waveform.input);
    if (waveform.output.empty()) throw UsageError("an empty name is no output file for -o");
    waveform.size = ParsePictureSize(raw.size);
    waveform.style =
        Choose<WaveformPreview::Style>("--style", raw.style,
                                       {{"lanes", WaveformPreview::Style::ChannelLanes},
                                        {"overlaid", WaveformPreview::Style::ChannelsOverlaid},
                                        {"rms", WaveformPreview::Style::RMSEnvelope}});
    waveform.scale = Choose<WaveformPreview::Scale>(
        "--scale", raw.scale,
        {{"linear", WaveformPreview::Scale::Linear}, {"log", WaveformPreview::Scale::Logarithmic}});
    waveform.format = Choose<WaveformPreview::Format>(
        "--format", raw.format,
        {{"rgb888", WaveformPreview::Format::RGB888}, {"argb32", WaveformPreview::Format::ARGB32}});
    waveform.color = ParseColor("--color", raw.color);
    waveform.background = ParseColor("--background", raw.background);
    CheckStreamRange(waveform.range);
    return waveform;
}

CommandOptions FinishCache(Target& target) {
    if (!target.raw.days.empty()) {
        target.cache.days = static_cast<int>(
            WholeNumber("--days", target.raw.days, 0, std::numeric_limits<int>::max()));
    }
    if (target.global.noCacheDb)
        throw UsageError("cache has nothing to look at with --no-cache-db");
    return target.cache;
}

void DeclareGlobals(CLI::App& app, Target& target) {
    GlobalOptions& global = target.global;
    RawOptions& raw = target.raw;
    app.add_option("--cache", global.cacheFolder, "Media cache folder")->type_name("DIR");
    app.add_option("--db", global.databaseFile, "Media database file")->type_name("FILE");
    app.add_flag("--no-cache-db", global.noCacheDb, "Use neither cache nor database");
    app.add_flag("--no-log", global.noLog, "Keep no log of cache errors");
    app.add_flag("--json", global.json, "Print the result as one JSON object");
    app.add_flag("--quiet", global.quiet, "Show no progress on a terminal");
    app.add_option("--progress", raw.progress, "Progress: auto, json or none")->type_name("MODE");
    app.add_option("--rate", raw.rate, "Sample rate of the project")->type_name("HZ");
    app.add_option("--fps", raw.fps, "Frame rate of the project")->type_name("F");
    app.add_option("--media-root", raw.mediaRoots, "Look for media under NEW instead of OLD")
        ->type_name("OLD=NEW")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--allow-missing", global.allowMissing, "Missing media of a timeline are silent");
    app.add_option("--keep-days", raw.keepDays, "Drop cache files unused for N days (30)")
        ->type_name("N");
}

CLI::App* AddCommand(CLI::App& parent, const std::string& name, const std::string& description) {
    CLI::App* command = parent.add_subcommand(name, description);
    command->fallthrough();
    return command;
}

void DeclareOverwrite(CLI::App& command, bool& overwrite) {
    command.add_flag("--overwrite", overwrite, "Replace write-protected files too");
}

void DeclareAlign(CLI::App& app, Target& target) {
    AlignOptions& align = target.align;
    CLI::App* command = AddCommand(app, "align", "Find how far recordings of one event are apart");
    command->add_option("A B", align.inputs, "Recordings; all are aligned with the first")
        ->required();
    command
        ->add_option("--min-correlation", target.raw.minCorrelation,
                     "Exit 3 when the refined correlation is below X (0.3)")
        ->type_name("X");
    command->add_option("--plot", align.plot, "Draw both waveforms at the offset")
        ->type_name("FILE.svg");
    command->add_option("--otio", align.otio, "Write a timeline with the recordings in sync")
        ->type_name("FILE.otio");
    DeclareOverwrite(*command, align.overwrite);
    command->callback([&target] { target.chosen = FinishAlign; });
}

void DeclareInfo(CLI::App& app, Target& target) {
    CLI::App* command = AddCommand(app, "info", "Tell what is in a timeline or media file");
    command->add_option("INPUT", target.info.input, "Timeline or media file")->required();
    command->callback([&target] { target.chosen = FinishInfo; });
}

void DeclareConform(CLI::App& app, Target& target) {
    CLI::App* command = AddCommand(app, "conform", "Find or make the conformed files of all media");
    command->add_option("INPUT", target.conform.inputs, "Timelines and media files")->required();
    command->add_option("--jobs", target.raw.jobs, "Files to convert at once (1)")->type_name("N");
    command->add_flag("--all-codecs", target.conform.allCodecs, "Pass over no codec");
    command->add_flag("--force", target.conform.force, "Make files anew that are there");
    command->callback([&target] { target.chosen = FinishConform; });
}

void DeclareMix(CLI::App& app, Target& target) {
    MixOptions& mix = target.mix;
    CLI::App* command = AddCommand(app, "mix", "Mix to a 16-bit stereo WAV file");
    command->add_option("INPUT", mix.input, "Timeline or media file")->required();
    command->add_option("-o", mix.output, "WAV file to write")->required()->type_name("OUT.wav");
    command->add_option("--from", mix.from, "First position (0)")->type_name("P");
    command->add_option("--to", mix.to, "Position behind the last (the end)")->type_name("P");
    command->add_option("--dither", target.raw.dither, "none, triangular or highpass (highpass)")
        ->type_name("TYPE");
    command->add_option("--seed", target.raw.seed, "Seed of the dither, or random (1)")
        ->type_name("N");
    command->add_option("--stems", mix.stems, "Write each track to a file of its own as well")
        ->type_name("DIR");
    command->add_option("--composition", mix.composition, "Mix the nested item of this name alone")
        ->type_name("NAME");
    command->add_option("--meters", mix.meters, "Write all blocks of all meters")
        ->type_name("FILE.json");
    command->add_flag("--fail-on-clip", mix.failOnClip, "Exit 3 when the mix clips");
    command
        ->add_option("--retime", target.raw.retime,
                     "What a retimed clip's length counts: otio (its track) or media (otio)")
        ->type_name("MODE");
    command->add_option("--audio-from", target.raw.audioFrom, "audio or video tracks (audio)")
        ->type_name("KIND");
    DeclareOverwrite(*command, mix.overwrite);
    command->callback([&target] { target.chosen = FinishMix; });
}

void DeclarePeaks(CLI::App& app, Target& target) {
    PeaksOptions& peaks = target.peaks;
    CLI::App* command = AddCommand(app, "peaks", "Find or make the peak files of all media");
    command->add_option("INPUT", peaks.inputs, "Timelines and media files")->required();
    command->add_option("-o", peaks.output, "Write one here, past the cache")
        ->type_name("FILE.xwpk");
    command->add_option("--mode", target.raw.peakMode, "With -o: auto, single or multi (auto)")
        ->type_name("MODE");
    command->add_option("--export", peaks.exportFile, "Write waveform data for other programs")
        ->type_name("FILE.json|.dat");
    command->add_option("--zoom", target.raw.zoom, "Samples in a pixel of the export (256)")
        ->type_name("N");
    command->add_flag("--force", peaks.force, "Make files anew that are there");
    DeclareOverwrite(*command, peaks.overwrite);
    command->callback([&target] { target.chosen = FinishPeaks; });
}

void DeclarePlay(CLI::App& app, Target& target) {
    PlayOptions& play = target.play;
    CLI::App* command = AddCommand(app, "play", "Play on the sound device");
    command->add_option("INPUT", play.input, "Timeline or media file")->required();
    command->add_option("--from", play.from, "First position (0; the last in reverse)")
        ->type_name("P");
    command->add_flag("--reverse", play.reverse, "Play backward");
    command->add_option("--speed", target.raw.speed, "1, 2, 3 or 4 times (1)")->type_name("N");
    command->add_flag("--meters", play.meters, "Show levels");
    command->add_flag("--events", play.events, "Print events as JSON lines");
    command->add_option("--output", play.output, "sdl, null or a file (sdl)")->type_name("OUT");
    command->add_option("--buffer", target.raw.buffer, "Sound device's buffer in ms, 5 to 500 (40)")
        ->type_name("MS");
    command->add_option("--dither", target.raw.dither, "none, triangular or highpass (highpass)")
        ->type_name("TYPE");
    command->add_option("--seed", target.raw.seed, "Seed of the dither, or random (1)")
        ->type_name("N");
    DeclareOverwrite(*command, play.overwrite);
    command->callback([&target] { target.chosen = FinishPlay; });
}

void DeclareWaveform(CLI::App& app, Target& target) {
    WaveformOptions& waveform = target.waveform;
    RawOptions& raw = target.raw;
    CLI::App* command = AddCommand(app, "waveform", "Draw the waveform of a media file");
    command->add_option("INPUT", waveform.input, "Media file")->required();
    command->add_option("-o", waveform.output, "Picture to write, PNG or SVG")
        ->required()
        ->type_name("OUT.png");
    command->add_option("--size", raw.size, "Pixels (1800x280)")->type_name("WxH");
    command->add_option("--style", raw.style, "lanes, overlaid or rms (rms)")->type_name("STYLE");
    command->add_option("--scale", raw.scale, "linear or log (linear)")->type_name("SCALE");
    command->add_option("--format", raw.format, "rgb888 or argb32 (argb32)")->type_name("FORMAT");
    command->add_option("--color", raw.color, "Of the waveform (000000FF)")
        ->type_name("RRGGBB[AA]");
    command->add_option("--background", raw.background, "Behind the waveform (00000000)")
        ->type_name("RRGGBB[AA]");
    command->add_option("--range", waveform.range, "Part of the stream (all)")->type_name("A:B");
    command->add_flag("--ruler", waveform.ruler, "Draw a time ruler below");
    DeclareOverwrite(*command, waveform.overwrite);
    command->callback([&target] { target.chosen = FinishWaveform; });
}

void DeclareCache(CLI::App& app, Target& target) {
    CLI::App* command = AddCommand(app, "cache", "Look after the media cache");
    command->require_subcommand(1);
    const auto add = [&](const char* name, const char* description, CacheAction action) {
        CLI::App* sub = AddCommand(*command, name, description);
        sub->callback([&target, action] {
            target.cache.action = action;
            target.chosen = FinishCache;
        });
        return sub;
    };
    add("ls", "List cache files and records", CacheAction::List);
    add("du", "Count what the cache takes", CacheAction::DiskUse);
    CLI::App* check =
        add("check", "Look for records, files and contents that do not fit", CacheAction::Check);
    check->add_flag("--deep", target.cache.deep,
                    "Read every file and compare checksums and media files");
    CLI::App* clean = add("clean", "Remove what was not used for some days", CacheAction::Clean);
    clean
        ->add_option("--days", target.raw.days,
                     "Days without use; 0 takes everything (--keep-days)")
        ->type_name("N");
    clean->add_flag("--orphans", target.cache.orphans, "Remove files without a record too");
    clean->add_flag("--dry-run", target.cache.dryRun, "Only tell what would be removed");
}

}  // namespace

std::variant<CommandLine, HelpText> ParseCommandLine(int argumentCount,
                                                     const char* const* arguments) {
    Target target;
    CLI::App app("Mixes timelines and looks after the files that this takes.", "sonrel");
    app.set_version_flag("--version", std::string("sonrel ") + VERSION);
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    DeclareGlobals(app, target);
    DeclareAlign(app, target);
    DeclareInfo(app, target);
    DeclareConform(app, target);
    DeclareMix(app, target);
    DeclarePeaks(app, target);
    DeclarePlay(app, target);
    DeclareWaveform(app, target);
    DeclareCache(app, target);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp&) {
        return HelpText{app.help()};
    } catch (const CLI::CallForAllHelp&) {
        return HelpText{app.help("", CLI::AppFormatMode::All)};
    } catch (const CLI::CallForVersion&) {
        return HelpText{app.version() + "\n"};
    } catch (const CLI::ParseError& error) {
        throw UsageError(ExplainRefusal(app, error));
    }
    CheckGlobals(target);
    CommandLine line;
    line.command = target.chosen(target);
    line.global = target.global;
    return line;
}

bool WantsJson(int argumentCount, const char* const* arguments) {
    for (int i = 1; i < argumentCount; ++i) {
        if (std::string_view(arguments[i]) == "--json") return true;
        if (std::string_view(arguments[i]) == "--") return false;
    }
    return false;
}

}  // namespace orlo::host
