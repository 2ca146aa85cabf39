// SPDX-License-Identifier: MIT
#include "host/manual/CommandTree.h"

#include <gtest/gtest.h>

#include <CLI/App.hpp>
#include <algorithm>

namespace orlo::host {
namespace {

using Texts = std::vector<std::string>;

const CommandInfo& CommandOf(const CommandInfo& command, const std::string& name) {
    return *std::find_if(command.commands.begin(), command.commands.end(),
                         [&](const CommandInfo& below) { return below.path.back() == name; });
}

OptionInfo OptionOf(const CommandInfo& command, const std::string& name) {
    for (const OptionInfo& option : command.options) {
        if (std::find(option.names.begin(), option.names.end(), name) != option.names.end()) {
            return option;
        }
    }
    ADD_FAILURE() << name;
    return {};
}

TEST(CommandTree, HasTheCommandsBelowCommandsWithTheirOptions) {
    const CommandInfo program = DescribeProgram();
    const CommandInfo& clean = CommandOf(CommandOf(program, "cache"), "clean");

    EXPECT_EQ(clean.path, (Texts{"cache", "clean"}));
    EXPECT_EQ(PathText(clean, "-"), "cache-clean");
    EXPECT_EQ(OptionOf(clean, "--days").value, "N");
    EXPECT_EQ(OptionOf(clean, "--dry-run").value, "");
    EXPECT_EQ(OptionOf(program, "--help").names, (Texts{"--help", "-h"}));
}

TEST(CommandTree, HasTheWordsOfOptionsAndArguments) {
    const CommandInfo program = DescribeProgram();

    EXPECT_EQ(OptionOf(program, "--progress").words, (Texts{"auto", "json", "none"}));
    EXPECT_EQ(OptionOf(program, "--grid").words, (Texts{"auto"}));
    EXPECT_EQ(OptionOf(CommandOf(program, "play"), "--output").words, (Texts{"sdl", "null"}));
    EXPECT_EQ(OptionOf(CommandOf(program, "peaks"), "--export").words, Texts());
    EXPECT_EQ(CommandOf(program, "plan").arguments.at(0).words, (Texts{"mix", "conform", "peaks"}));
}

TEST(CommandTree, KnowsFilesAndFoldersByTheFormOfTheValue) {
    const CommandInfo program = DescribeProgram();
    const CommandInfo& mix = CommandOf(program, "mix");

    EXPECT_EQ(OptionOf(program, "--cache").kind, ValueKind::Folder);
    EXPECT_EQ(OptionOf(program, "--db").kind, ValueKind::File);
    EXPECT_EQ(OptionOf(program, "--rate").kind, ValueKind::Text);
    EXPECT_EQ(OptionOf(mix, "-o").kind, ValueKind::File);
    EXPECT_TRUE(OptionOf(mix, "-o").isRequired);
    EXPECT_EQ(mix.arguments.at(0).kind, ValueKind::File);
    EXPECT_FALSE(mix.arguments.at(0).isRepeated);
    EXPECT_TRUE(CommandOf(program, "conform").arguments.at(0).isRepeated);
    EXPECT_EQ(CommandOf(program, "plan").arguments.at(0).kind, ValueKind::Text);
}

TEST(CommandNotes, AreReadAsTheyWereAdded) {
    CLI::App app;
    AddNotes(app, EXAMPLES,
             {{"short", "A short line"}, {"a line of more than thirty characters", "Below: it"}});
    AddNotes(app, EXIT_CODES, {{"3", "None"}});

    const std::vector<NoteList> lists = NotesOf(app);

    EXPECT_EQ(app.get_footer(),
              "Examples:\n"
              "  short                       A short line\n"
              "  a line of more than thirty characters\n"
              "                              Below: it\n"
              "\n"
              "Exit codes:\n"
              "  3                           None\n");
    ASSERT_EQ(lists.size(), 2U);
    EXPECT_EQ(lists[0].title, "Examples");
    EXPECT_EQ(lists[0].notes.at(0).text, "short");
    EXPECT_EQ(lists[0].notes.at(0).meaning, "A short line");
    EXPECT_EQ(lists[0].notes.at(1).text, "a line of more than thirty characters");
    EXPECT_EQ(lists[0].notes.at(1).meaning, "Below: it");
    EXPECT_EQ(lists[1].notes.at(0).meaning, "None");
}

TEST(CommandNotes, CommandsHaveExamples) {
    const CommandInfo program = DescribeProgram();
    const auto isExamples = [](const NoteList& list) { return list.title == EXAMPLES; };

    for (const char* name : {"align", "sync", "info", "conform", "loudness", "mix", "join", "peaks",
                             "plan", "play", "waveform", "cache"}) {
        const std::vector<NoteList>& notes = CommandOf(program, name).notes;
        EXPECT_EQ(std::count_if(notes.begin(), notes.end(), isExamples), 1) << name;
    }
}

}  // namespace
}  // namespace orlo::host
