// SPDX-License-Identifier: MIT
// Standard input as INPUT.
#include <gtest/gtest.h>

#include "tests/host/SpoolRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

class SpooledInputProgram : public SpoolRun {
protected:
    void SetUp() override {
        SpoolRun::SetUp();
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
    }
};

TEST_F(SpooledInputProgram, AMediaFileFromAPipeGivesTheBytesOfTheFile) {
    EXPECT_EQ(Bash("cat a.wav | \\$sonrel mix - -o out.wav >report"), 0);
    EXPECT_TRUE(ReadFile(shop_.Work("out.wav")) == ConformedFileBytes(96000));

    EXPECT_EQ(Bash("cat a.wav | \\$sonrel mix - -o - 2>report >stream"), 0);
    EXPECT_TRUE(ReadFile(shop_.Work("stream")) == ConformedFileBytes(96000));
}

TEST_F(SpooledInputProgram, TheOtherCommandsReadItTooAndNameIt) {
    EXPECT_EQ(Bash("\\$sonrel info - --json <a.wav >report"), 0);
    EXPECT_EQ(JsonReport().at("input"), "-");
    EXPECT_EQ(Report().find("/proc/"), std::string::npos) << Report();

    EXPECT_EQ(Bash("cat a.wav | \\$sonrel waveform - -o out.png >report"), 0);
    EXPECT_EQ(Bash("cat a.wav | \\$sonrel play - --output out.raw >report"), 0);
    EXPECT_TRUE(ReadFile(shop_.Work("out.raw")).starts_with(CountingSamples(90000)));
    EXPECT_EQ(Bash("cat a.wav | \\$sonrel peaks - -o out.xwpk >report"), 0);
    // The sound repeats, so that the offset is uncertain.
    EXPECT_EQ(Bash("cat a.wav | \\$sonrel align a.wav - >report 2>error"), 3);
    EXPECT_TRUE(Report().starts_with("'a.wav' and '-' start together")) << Report();
}

TEST_F(SpooledInputProgram, AnInputBeyondTheLimitIsRefused) {
    // A header of 44 bytes and 96000 frames of 4 bytes.
    EXPECT_EQ(Bash("cat a.wav | \\$sonrel --spool-limit 384043 mix - -o out.wav 2>report"), 1);
    EXPECT_NE(Report().find("more than 384043 bytes"), std::string::npos) << Report();
    EXPECT_FALSE(fs::exists(shop_.Work("out.wav")));

    EXPECT_EQ(Bash("cat a.wav | \\$sonrel --spool-limit 384044 mix - -o out.wav >report"), 0);
    EXPECT_EQ(Bash("cat a.wav | \\$sonrel --spool-limit 376K mix - -o out.wav >report"), 0);
}

TEST_F(SpooledInputProgram, AFullTemporaryFolderIsNamedWithItsVariable) {
    // A file may have 100 blocks of 1024 bytes; the signal that would end the program is ignored.
    EXPECT_EQ(Bash("trap '' XFSZ; ulimit -f 100; \\$sonrel mix - -o out.wav <a.wav 2>report"), 1);

    EXPECT_TRUE(Report().ends_with("; make room, or set TMPDIR to another folder\n")) << Report();
}

TEST_F(SpooledInputProgram, AnEmptyInputAndAnInputWithoutSoundFailWithOneLine) {
    EXPECT_EQ(Bash("\\$sonrel mix - -o out.wav </dev/null 2>report"), 1);
    EXPECT_EQ(Report(), "sonrel: cannot read standard input: it is empty\n");

    EXPECT_EQ(Bash("echo nothing | \\$sonrel mix - -o out.wav 2>report"), 1);
    EXPECT_TRUE(Report().starts_with("sonrel: cannot read '-': not a media file")) << Report();
}

TEST_F(SpooledInputProgram, WrongUsageIsRefused) {
    EXPECT_EQ(Bash("\\$sonrel conform - <a.wav 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel peaks - <a.wav 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel align - - <a.wav 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel --spool-limit 0 mix - -o out.wav <a.wav 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel --spool-limit 4X mix - -o out.wav <a.wav 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel mix - -o a.wav --overwrite <a.wav 2>report"), 2);
    EXPECT_TRUE(ReadFile(shop_.Work("a.wav")) == ConformedFileBytes(96000));
}

}  // namespace
}  // namespace sonrel_tests
