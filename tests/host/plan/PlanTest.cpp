// SPDX-License-Identifier: MIT
#include "host/plan/Plan.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

class PlanTest : public testing::Test {
protected:
    std::string Add(const std::string& name) {
        std::filesystem::create_directories((folder_ / name).parent_path());
        WriteFile(folder_ / name, "");
        return folder_ / name;
    }

    TemporaryFolder folder_;
};

TEST_F(PlanTest, OfAMixInPartsHasACommandForEachPartAndTheirJoin) {
    const std::string input = Add("reel.otio");
    PlanOptions options;
    options.inputs = {input};
    options.shards = 2;
    options.folder = "/reel";
    options.passed = {"--seed", "3"};

    const Plan plan = MakePlan(options);

    const std::string first = "/reel/reel.part-1-of-2.wav";
    const std::string second = "/reel/reel.part-2-of-2.wav";
    EXPECT_EQ(plan.commands,
              (std::vector<CommandWords>{
                  {"sonrel", "mix", "--seed", "3", "--part", "1/2", "-o", first, input},
                  {"sonrel", "mix", "--seed", "3", "--part", "2/2", "-o", second, input}}));
    EXPECT_EQ(
        plan.joins,
        (std::vector<CommandWords>{{"sonrel", "join", first, second, "-o", "/reel/reel.wav"}}));
}

TEST_F(PlanTest, OfOneShardMixesEachTimelineWhole) {
    PlanOptions options;
    options.inputs = {Add("a.otio"), Add("b.otio")};
    options.folder = "/reel";

    const Plan plan = MakePlan(options);

    ASSERT_EQ(plan.commands.size(), 2u);
    EXPECT_EQ(plan.commands[1],
              (CommandWords{"sonrel", "mix", "-o", "/reel/b.wav", options.inputs[1]}));
    EXPECT_TRUE(plan.joins.empty());
}

TEST_F(PlanTest, OfConformDividesTheInputsIntoGroupsAndHasNoEmptyGroup) {
    PlanOptions options;
    options.command = PlannedCommand::Conform;
    for (const char* name : {"1.wav", "2.wav", "3.wav", "4.wav", "5.wav"}) {
        options.inputs.push_back(Add(name));
    }
    options.shards = 2;

    const Plan plan = MakePlan(options);

    ASSERT_EQ(plan.commands.size(), 2u);
    EXPECT_EQ(plan.commands[0],
              (CommandWords{"sonrel", "conform", options.inputs[0], options.inputs[1]}));
    EXPECT_EQ(plan.commands[1].size(), 5u);
    options.shards = 9;
    EXPECT_EQ(MakePlan(options).commands.size(), 5u);
}

TEST_F(PlanTest, RefusesMissingInputsMediaFilesInPartsAndMixesOfOneName) {
    PlanOptions missing;
    missing.inputs = {"/nowhere/a.otio"};
    EXPECT_THROW(MakePlan(missing), JobError);
    PlanOptions media;
    media.inputs = {Add("a.wav")};
    media.shards = 2;
    EXPECT_THROW(MakePlan(media), UsageError);
    PlanOptions twins;
    twins.inputs = {Add("x/a.otio"), Add("y/a.otio")};
    EXPECT_THROW(MakePlan(twins), UsageError);
}

TEST(ShellQuoting, KeepsPlainWordsAndQuotesAllOthers) {
    EXPECT_EQ(ShellLine({"sonrel", "/a/b.wav", "--rate=48000", ""}),
              "sonrel /a/b.wav --rate=48000 ''");
    EXPECT_EQ(ShellLine({"two words", "$HOME", "it's"}), "'two words' '$HOME' 'it'\\''s'");
    EXPECT_THROW(ShellLine({"line\nbreak"}), UsageError);
}

TEST(SlurmPlan, SubmitsTheJoinsToRunWhenAllPartsHaveEnded) {
    const std::string script = SlurmScript(
        {{{"sonrel", "mix", "a b"}, {"sonrel", "mix", "c"}}, {{"sonrel", "join", "d"}}});

    EXPECT_EQ(script,
              "#!/bin/sh\n"
              "# Submits the jobs to Slurm: sh SCRIPT\n"
              "set -eu\n"
              "parts=$(sbatch --parsable --requeue --array=1-2 <<'END_OF_TASKS'\n"
              "#!/bin/sh\n"
              "case $SLURM_ARRAY_TASK_ID in\n"
              "1) exec sonrel mix 'a b' ;;\n"
              "2) exec sonrel mix c ;;\n"
              "esac\n"
              "END_OF_TASKS\n"
              ")\n"
              "echo \"$parts\"\n"
              "sbatch --parsable --requeue --array=1-1 --dependency=afterany:\"${parts%%;*}\" "
              "<<'END_OF_TASKS'\n"
              "#!/bin/sh\n"
              "case $SLURM_ARRAY_TASK_ID in\n"
              "1) exec sonrel join d ;;\n"
              "esac\n"
              "END_OF_TASKS\n");
}

}  // namespace
}  // namespace orlo::host
