// SPDX-License-Identifier: MIT
#include "host/manifest/RecordedOptions.h"

#include <gtest/gtest.h>

#include <CLI/App.hpp>
#include <map>
#include <set>

#include "host/mix/MixOptions.h"
#include "host/options/GlobalOptions.h"

namespace orlo::host {
namespace {

/// A value of each option of `mix`; empty for a flag. Whoever adds an option decides here whether
/// it can change a sample.
const std::map<std::string, std::string> CHANGES_SAMPLES = {
    {"--rate", "44100"},     {"--fps", "29.97df"},      {"--grid", "2"},
    {"--media-root", "a=b"}, {"--allow-missing", ""},   {"--from", "1"},
    {"--to", "01:00:00;02"}, {"--composition", "-x y"}, {"--retime", "media"},
    {"--stream", "2"},       {"--audio-from", "video"}, {"--channels", "1,2"},
    {"--dither", "none"},    {"--seed", "7"},           {"--normalize", "-23"},
    {"--true-peak", "-2"},   {"--gain", "-1.5e-05"}};

const std::map<std::string, std::string> KEEPS_SAMPLES = {
    {"-o", "a.wav"},        {"--stems", "s"}, {"--meters", "m"},     {"--manifest", "m"},
    {"--overwrite", ""},    {"--jobs", "3"},  {"--part", "1/2"},     {"--fail-on-clip", ""},
    {"--strict", ""},       {"--cache", "c"}, {"--db", "d"},         {"--no-cache-db", ""},
    {"--cache-size", "4G"}, {"--no-log", ""}, {"--keep-days", "3"},  {"--spool-limit", "4M"},
    {"--json", ""},         {"--quiet", ""},  {"--progress", "none"}};

/// The command line of `mix`.
class MixLine {
public:
    MixLine() {
        app_.set_help_flag();
        command_->set_help_flag();
        command_->fallthrough();
        DeclareGlobalOptions(app_, global_);
        DeclareMixOptions(*command_, options_);
    }

    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const CLI::App* app :
             {const_cast<const CLI::App*>(&app_), const_cast<const CLI::App*>(command_)}) {
            for (const CLI::Option* option : app->get_options()) {
                if (!option->get_positional()) names.insert(option->get_name());
            }
        }
        return names;
    }

    /// The record of a command line with these options.
    Json Record(std::vector<std::string> words) {
        words.insert(words.begin(), {"mix", "edit.otio", "-o", "mix.wav"});
        app_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        return RecordedOptions(OptionsGiven(*command_, words));
    }

private:
    CLI::App app_;
    CLI::App* command_ = app_.add_subcommand("mix");
    GlobalOptions global_;
    MixOptions options_;
};

std::string Word(const std::string& name, const std::string& value) {
    return value.empty() ? name : name + "=" + value;
}

TEST(RecordedOptions, EveryOptionOfMixIsKnownToChangeSamplesOrNot) {
    std::set<std::string> known;
    for (const auto& [name, value] : CHANGES_SAMPLES) known.insert(name);
    for (const auto& [name, value] : KEEPS_SAMPLES) known.insert(name);

    EXPECT_EQ(MixLine().Names(), known);
}

TEST(RecordedOptions, AnOptionThatChangesSamplesIsRecordedAndReadBack) {
    for (const auto& [name, value] : CHANGES_SAMPLES) {
        const Json record = MixLine().Record({Word(name, value)});

        EXPECT_EQ(record.AsObject().size(), 1u) << name;
        const std::vector<std::string> words = WordsOf(record);
        ASSERT_EQ(words.size(), 1u) << name;
        EXPECT_EQ(words.front(), Word(name, value));
        EXPECT_EQ(MixLine().Record(words).ToLine(), record.ToLine());
    }
}

TEST(RecordedOptions, AnOptionThatKeepsTheSamplesIsNotRecorded) {
    for (const auto& [name, value] : KEEPS_SAMPLES) {
        if (name == "-o") continue;  // every record has it
        EXPECT_EQ(MixLine().Record({Word(name, value)}).ToLine(), "{}") << name;
    }
}

TEST(RecordedOptions, AValueMayFollowItsOptionOrAnEqualsSignAndLookLikeAnOption) {
    EXPECT_EQ(MixLine().Record({"--gain", "-3", "--json", "--from=2", "--seed", "random"}).ToLine(),
              R"({"from":"2","gain":"-3","seed":"random"})");
    EXPECT_EQ(MixLine().Record({"--meters", "--seed", "--gain", "1"}).ToLine(), R"({"gain":"1"})");
}

TEST(RecordedOptions, AnEmptyPositionIsTheDefaultAndNotRecorded) {
    EXPECT_EQ(MixLine().Record({"--from", ""}).ToLine(), "{}");
}

TEST(RecordedOptions, ARepeatedOptionKeepsItsOrder) {
    const Json record = MixLine().Record({"--media-root", "b=c", "--media-root", "a=d"});

    EXPECT_EQ(record.ToLine(), R"({"media-root":["b=c","a=d"]})");
    EXPECT_EQ(WordsOf(record), (std::vector<std::string>{"--media-root=b=c", "--media-root=a=d"}));
}

}  // namespace
}  // namespace orlo::host
