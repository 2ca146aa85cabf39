// SPDX-License-Identifier: MIT
// A WAV stream to standard output.
#include <gtest/gtest.h>

#include "tests/host/ShellRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

class StandardOutputProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
        WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("a.wav", 0, 50)})}).dump());
    }

    /// Runs a line of bash, where MIX mixes the timeline to standard output.
    int Bash(std::string line) const {
        line.replace(line.find("MIX"), 3, "\\$sonrel mix edit.otio -o -");
        return RunBash(shop_, line);
    }

    Workshop shop_;
};

TEST_F(StandardOutputProgram, HasTheBytesOfTheFileAndTheReportIsOnStandardError) {
    ASSERT_EQ(shop_.Run({"mix", "@edit.otio", "-o", "@out.wav"}).exitCode, 0);

    const ProgramResult result = shop_.Run({"mix", "@edit.otio", "-o", "-"});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out == ReadFile(shop_.Work("out.wav")));
    EXPECT_TRUE(result.err.starts_with("standard output: 0:00:02.000, 96000 samples"))
        << result.err;
    EXPECT_NE(result.err.find("loudness:"), std::string::npos) << result.err;
}

TEST_F(StandardOutputProgram, APipeReceivesTheWholeStream) {
    ASSERT_EQ(shop_.Run({"mix", "@edit.otio", "-o", "@out.wav"}).exitCode, 0);

    EXPECT_EQ(Bash("set -o pipefail; MIX 2>report | cat >piped"), 0);

    EXPECT_TRUE(ReadFile(shop_.Work("piped")) == ReadFile(shop_.Work("out.wav")));
}

TEST_F(StandardOutputProgram, AFailureEndsTheStreamEarlyWithExit1) {
    EXPECT_EQ(Bash("set -o pipefail; MIX 2>report | head -c 100 >piped"), 1);
    EXPECT_EQ(ReadFile(shop_.Work("piped")).size(), 100u);
    EXPECT_NE(ReadFile(shop_.Work("report")).find("Broken pipe"), std::string::npos);

    EXPECT_EQ(Bash("MIX >/dev/full 2>report"), 1);
    EXPECT_NE(ReadFile(shop_.Work("report")).find("No space left"), std::string::npos);

    EXPECT_EQ(Bash("MIX >&- 2>report"), 1);
    EXPECT_NE(ReadFile(shop_.Work("report")).find("it is closed"), std::string::npos);
}

TEST_F(StandardOutputProgram, JsonIsWrongUsage) {
    const ProgramResult result = shop_.Run({"mix", "@edit.otio", "-o", "-", "--json"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_TRUE(result.Json().contains("error"));
}

TEST_F(StandardOutputProgram, AFileThatIsReadIsRefusedAndUnchanged) {
    EXPECT_EQ(Bash("MIX >>a.wav 2>report"), 2);

    EXPECT_TRUE(ReadFile(shop_.Work("a.wav")) == ConformedFileBytes(96000));
    EXPECT_NE(ReadFile(shop_.Work("report")).find("media file of clip"), std::string::npos);
}

TEST_F(StandardOutputProgram, OnlyMixWritesToIt) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"play", "@a.wav", "--output", "-"}, {"waveform", "@a.wav", "-o", "-"}}) {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.front();
        EXPECT_EQ(result.out, "") << arguments.front();
    }
}

}  // namespace
}  // namespace sonrel_tests
