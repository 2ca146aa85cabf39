// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/manual/Completions.h"
#include "host/manual/ManualPage.h"

namespace orlo::host {
namespace {

/// A program with one command.
CommandInfo SmallProgram() {
    CommandInfo command;
    command.path = {"draw"};
    command.description = "Draw a picture";
    command.options = {
        {{"-o"}, "OUT.png", {}, ValueKind::File, "Picture", true, false},
        {{"--style"}, "S", {"dots", "lines"}, ValueKind::Text, "Look", false, false}};
    command.arguments = {{{"INPUT"}, "TEXT", {}, ValueKind::File, "File", true, true}};
    command.notes = {{EXAMPLES, {{"sonrel draw a.wav -o a.png", "Draw"}}},
                     {EXIT_CODES, {{"3", "Nothing to draw"}}}};
    CommandInfo program;
    program.description = "Do work";
    program.commands = {command};
    program.notes = {{"Environment", {{"HOME", "Folder"}}},
                     {EXIT_CODES, {{"0", "Done"}, {"3", "Not met"}}}};
    return program;
}

TEST(ManualPage, ARoffTextHasNoEscapesAndNoRequests) {
    EXPECT_EQ(RoffText("-23 LUFS"), "\\-23 LUFS");
    EXPECT_EQ(RoffText(".wav"), "\\&.wav");
    EXPECT_EQ(RoffText("'a' \\b"), "\\&\\(aqa\\(aq \\eb");
    EXPECT_EQ(RoffText("a.b\n.c"), "a.b\n\\&.c");
}

TEST(ManualPage, ACommandHasItsOptionsExamplesEnvironmentAndExitCodes) {
    const CommandInfo program = SmallProgram();

    EXPECT_EQ(CommandPage(program, program.commands.at(0), "1.2"),
              ".\\\" Generated from the command line of the program.\n"
              ".TH SONREL\\-DRAW 1 \"\" \"sonrel 1.2\" \"User Commands\"\n"
              ".SH NAME\n"
              "sonrel\\-draw \\- draw a picture\n"
              ".SH SYNOPSIS\n"
              "\\fBsonrel draw\\fR [\\fIOPTION\\fR ...] \\fIINPUT\\fR ... "
              "\\fB\\-o\\fR \\fIOUT.png\\fR\n"
              ".SH OPTIONS\n"
              ".TP\n\\fIINPUT\\fR ...\nFile.\n"
              ".TP\n\\fB\\-o\\fR \\fIOUT.png\\fR\nPicture (required).\n"
              ".TP\n\\fB\\-\\-style\\fR \\fBdots\\fR|\\fBlines\\fR\nLook.\n"
              ".SH GLOBAL OPTIONS\n"
              "The options of all commands are listed in\n.BR sonrel (1) .\n"
              ".SH EXAMPLES\n"
              ".TP\n\\fBsonrel draw a.wav \\-o a.png\\fR\nDraw.\n"
              ".SH ENVIRONMENT\n"
              ".TP\n\\fBHOME\\fR\nFolder.\n"
              ".SH EXIT STATUS\n"
              ".TP\n\\fB0\\fR\nDone.\n"
              ".TP\n\\fB3\\fR\nNothing to draw.\n"
              ".SH SEE ALSO\n"
              ".BR sonrel (1)\n");
}

TEST(Completions, TextsAreQuotedForTheirShell) {
    EXPECT_EQ(SingleQuoted("it's"), "'it'\\''s'");
    EXPECT_EQ(FishQuoted("it's \\"), "'it\\'s \\\\'");
    EXPECT_EQ(ZshText("a:b [c] \\"), "a\\:b \\[c\\] \\\\");
}

TEST(Completions, EachShellHasTheWordsOfAnOption) {
    const CommandInfo program = SmallProgram();

    EXPECT_NE(BashCompletion(program).find("'draw --style') words='dots lines' ;;"),
              std::string::npos);
    EXPECT_NE(ZshCompletion(program).find("'(--style)--style=[Look]:S:(dots lines)'"),
              std::string::npos);
    EXPECT_NE(FishCompletion(program).find(
                  "complete -c sonrel -n '__sonrel_is \"draw\"' -l style -x -a 'dots lines' -d "
                  "'Look'\n"),
              std::string::npos);
}

}  // namespace
}  // namespace orlo::host
