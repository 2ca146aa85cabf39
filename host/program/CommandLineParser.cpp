// SPDX-License-Identifier: MIT
#include "host/program/CommandLineParser.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <memory>
#include <string_view>

#include "host/align/AlignCommand.h"
#include "host/align/SyncCommand.h"
#include "host/cache/CacheCommand.h"
#include "host/conform/ConformCommand.h"
#include "host/info/InfoCommand.h"
#include "host/loudness/LoudnessCommand.h"
#include "host/media/SpooledInput.h"
#include "host/mix/JoinCommand.h"
#include "host/mix/MixCommand.h"
#include "host/options/GivenOptions.h"
#include "host/peaks/PeaksCommand.h"
#include "host/plan/PlanCommand.h"
#include "host/play/PlayCommand.h"
#include "host/program/ParseErrorMessage.h"
#include "host/program/ProgramNotes.h"
#include "host/report/ReportCommand.h"
#include "host/shell/Errors.h"
#include "host/shell/Version.h"
#include "host/verify/VerifyCommand.h"
#include "host/waveform/WaveformCommand.h"

namespace orlo::host {

namespace {

/// The inputs of a command that reads media files.
template <class Options>
std::vector<std::string*> InputsOf(Options& options) {
    std::vector<std::string*> inputs;
    if constexpr (requires { options.input; }) inputs.push_back(&options.input);
    if constexpr (requires { options.inputs; }) {
        for (std::string& input : options.inputs) inputs.push_back(&input);
    }
    return inputs;
}

/// Gives a command that records its options the options of the command line.
template <class Options>
void KeepGiven(Options& options, const CLI::App& command, const std::vector<std::string>& words) {
    if constexpr (requires { options.given; }) options.given = OptionsGiven(command, words);
}

/// Adds the commands to a command line.
class CommandAdder {
public:
    CommandAdder(CLI::App& app, CommandLine& line) : app_(app), line_(line) {}

    /// @param declare  declares the options of the command
    /// @param run      does its work
    template <class Options>
    void Add(const char* name, const char* description,
             void (*declare)(CLI::App& command, Options& options),
             Outcome (*run)(const GlobalOptions& global, const Options& options)) {
        CLI::App* command = app_.add_subcommand(name, description);
        command->fallthrough();
        const auto options = std::make_shared<Options>();
        declare(*command, *options);
        command->callback([&line = line_, command, options, run] {
            KeepGiven(*options, *command, line.words);
            line.run = [options, run](const GlobalOptions& global) {
                return RunWithSpooledInput(
                    global, InputsOf(*options),
                    [&](const GlobalOptions& used) { return run(used, *options); });
            };
        });
    }

private:
    CLI::App& app_;
    CommandLine& line_;
};

void AddCommands(CLI::App& app, CommandLine& line) {
    CommandAdder commands(app, line);
    commands.Add("align", "Find how far apart recordings of one event are", DeclareAlignOptions,
                 RunAlign);
    commands.Add("sync", "Sync the cameras of a shooting day to the recorder by sound",
                 DeclareSyncOptions, RunSync);
    commands.Add("info", "Describe a timeline or media file", DeclareInfoOptions, RunInfo);
    commands.Add("conform", "Find or make the conformed files of all media files",
                 DeclareConformOptions, RunConform);
    commands.Add("loudness", "Measure the loudness and the true peak", DeclareLoudnessOptions,
                 RunLoudness);
    commands.Add("mix", "Mix to a stereo sound file", DeclareMixOptions, RunMix);
    commands.Add("join", "Put the parts of a mix together", DeclareJoinOptions, RunJoin);
    commands.Add("verify", "Mix again, and compare with the manifest of a mix",
                 DeclareVerifyOptions, RunVerify);
    commands.Add("peaks", "Find or make the peak files of all media files", DeclarePeaksOptions,
                 RunPeaks);
    commands.Add("plan", "Divide mix, conform or peaks among machines", DeclarePlanOptions,
                 RunPlan);
    commands.Add("play", "Play on the sound device", DeclarePlayOptions, RunPlay);
    commands.Add("report", "Write a page that shows a timeline and its levels",
                 DeclareReportOptions, RunReport);
    commands.Add("waveform", "Draw the waveform of a media file", DeclareWaveformOptions,
                 RunWaveform);
    commands.Add("cache", "List, check and clean the media cache", DeclareCacheOptions, RunCache);
}

/// Whether help is requested, even if another part of the command line is wrong.
bool WantsHelp(const CLI::App& app) {
    if (app.get_help_ptr()->count() > 0) return true;
    for (const CLI::App* command : app.get_subcommands()) {
        if (WantsHelp(*command)) return true;
    }
    return false;
}

}  // namespace

void DeclareCommandLine(CLI::App& app, CommandLine& line) {
    app.name("sonrel");
    app.description("Mix timelines and manage the cache files that mixing needs");
    app.set_version_flag("--version", std::string("sonrel ") + VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    DeclareGlobalOptions(app, line.global);
    AddCommands(app, line);
    AddProgramNotes(app);
}

std::variant<CommandLine, HelpText> ParseCommandLine(int argumentCount,
                                                     const char* const* arguments) {
    CommandLine line;
    line.words.assign(arguments + std::min(1, argumentCount), arguments + argumentCount);
    CLI::App app;
    DeclareCommandLine(app, line);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp&) {
        return HelpText{app.help()};
    } catch (const CLI::CallForVersion&) {
        return HelpText{app.version() + "\n"};
    } catch (const CLI::ParseError& error) {
        if (WantsHelp(app)) return HelpText{app.help()};
        throw UsageError(ParseErrorMessage(app, line.words, error));
    } catch (const UsageError&) {
        if (WantsHelp(app)) return HelpText{app.help()};
        throw;
    }
    CheckGlobalOptions(line.global);
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
