// SPDX-License-Identifier: MIT
// The player under the job control of shells.
#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/host/play/TerminalRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::HasSubstr;
using testing::Not;

/// Neither shell edits lines, so the test sees the modes that the player left.
const std::vector<std::vector<std::string>> SHELLS{
    {"/bin/bash", "--norc", "--noprofile", "--noediting", "-i"}, {"/bin/dash", "-i"}};

class PlayJobControl : public testing::TestWithParam<std::vector<std::string>> {
protected:
    void SetUp() override {
        setenv("PS1", "shell: ", 1);
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
        WriteFile(shop_.Work("long.otio"), Timeline({Track({Gap(3000)})}).dump());
        WriteFile(shop_.Work("short.otio"), Timeline({Track({Clip("a.wav", 0, 10)})}).dump());
    }

    std::string Play(const std::string& timeline) const {
        return std::string(SONREL_PROGRAM) + " --cache " + shop_.Path("cache").string() + " --db " +
               shop_.Path("media.db").string() + " play " + shop_.Work(timeline).string() +
               " --output null";
    }

    Workshop shop_;
};

TEST_P(PlayJobControl, ASuspendedPlayerLeavesTheNormalModesAndKeysWorkAfterFg) {
    TerminalRun shell(GetParam());
    ASSERT_TRUE(shell.Shows("shell: "));
    shell.Press(Play("long.otio") + "\n");
    ASSERT_TRUE(shell.Shows("  >")) << shell.Shown();
    EXPECT_FALSE(shell.HasNormalModes());

    shell.Press("\x1a");
    ASSERT_TRUE(shell.Shows("Stopped")) << shell.Shown();
    ASSERT_TRUE(shell.Shows("shell: "));
    EXPECT_TRUE(shell.HasNormalModes());

    shell.Press("fg\n");
    ASSERT_TRUE(shell.Shows("  >")) << shell.Shown();
    EXPECT_FALSE(shell.HasNormalModes());
    shell.Press("k");
    EXPECT_TRUE(shell.Shows("paused"));
    shell.Press("q");
    EXPECT_TRUE(shell.Shows("shell: "));
    EXPECT_TRUE(shell.HasNormalModes());
}

TEST_P(PlayJobControl, APlayerThatBgContinuesDrawsNothingUntilFg) {
    TerminalRun shell(GetParam());
    shell.Press(Play("long.otio") + "\n");
    ASSERT_TRUE(shell.Shows("  >")) << shell.Shown();
    shell.Press("\x1a");
    ASSERT_TRUE(shell.Shows("Stopped"));
    ASSERT_TRUE(shell.Shows("shell: "));
    const std::size_t stopped = shell.Shown().size();

    shell.Press("bg\n");
    ASSERT_TRUE(shell.Shows("shell: "));
    // Long enough for 12 frames.
    shell.Press("sleep 0.5; echo slept$((1+1))\n");
    ASSERT_TRUE(shell.Shows("slept2"));
    EXPECT_THAT(shell.Shown().substr(stopped), Not(HasSubstr("\x1b[")));
    EXPECT_TRUE(shell.HasNormalModes());

    shell.Press("fg\n");
    ASSERT_TRUE(shell.Shows("  >")) << shell.Shown();
    shell.Press("k");
    EXPECT_TRUE(shell.Shows("paused"));
    shell.Press("q");
    EXPECT_TRUE(shell.Shows("shell: "));
}

TEST_P(PlayJobControl, APlayerThatIsStartedInTheBackgroundWritesNothing) {
    TerminalRun shell(GetParam());
    ASSERT_TRUE(shell.Shows("shell: "));

    shell.Press(Play("short.otio") + " & wait; echo waited$((1+1))\n");

    ASSERT_TRUE(shell.Shows("waited2")) << shell.Shown();
    EXPECT_THAT(shell.Shown(), Not(HasSubstr("\x1b[")));
}

INSTANTIATE_TEST_SUITE_P(Shells, PlayJobControl, testing::ValuesIn(SHELLS), [](const auto& shell) {
    return shell.param[0] == "/bin/bash" ? std::string("Bash") : std::string("Dash");
});

}  // namespace
}  // namespace sonrel_tests
