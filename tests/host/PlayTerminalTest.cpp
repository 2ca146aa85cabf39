// SPDX-License-Identifier: MIT
// The player as a user meets it: on a terminal, with keys.
#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A run of the program on a terminal of its own.
class TerminalRun {
public:
    explicit TerminalRun(const std::vector<std::string>& arguments) {
        std::vector<std::string> words{SONREL_PROGRAM};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (child_ == 0) {
            execv(pointers[0], pointers.data());
            _exit(127);
        }
    }
    ~TerminalRun() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        close(terminal_);
    }
    TerminalRun(const TerminalRun&) = delete;
    TerminalRun& operator=(const TerminalRun&) = delete;

    void Press(const std::string& keys) {
        ASSERT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    /// Reads on until the terminal shows a text. @return whether it came
    bool Shows(const std::string& text) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (shown_.find(text, seen_) == std::string::npos) {
            if (std::chrono::steady_clock::now() > deadline || !ReadMore()) return false;
        }
        seen_ = shown_.find(text, seen_) + text.size();
        return true;
    }

    /// Reads to the end. @return the exit code
    int Wait() {
        while (ReadMore()) continue;
        int status = 0;
        waitpid(std::exchange(child_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    const std::string& Shown() const { return shown_; }

private:
    bool ReadMore() {
        pollfd input = {terminal_, POLLIN, 0};
        if (poll(&input, 1, 20000) <= 0) return false;
        char bytes[4096];
        // A terminal whose program has gone fails.
        const ssize_t count = read(terminal_, bytes, sizeof bytes);
        if (count <= 0) return false;
        shown_.append(bytes, static_cast<std::size_t>(count));
        return true;
    }

    int terminal_ = -1;
    pid_t child_ = -1;
    std::string shown_;
    std::size_t seen_ = 0;
};

class PlayTerminal : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
        // Longer than any of the tests.
        WriteFile(shop_.Work("edit.otio"),
                  Timeline({Track({Clip("a.wav", 0, 50), Gap(3000)}, "Beat")}).dump());
    }

    std::vector<std::string> Arguments(const std::vector<std::string>& more) const {
        std::vector<std::string> all{"--cache",  shop_.Path("cache").string(),
                                     "--db",     shop_.Path("media.db").string(),
                                     "play",     shop_.Work("edit.otio").string(),
                                     "--output", "null"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    Workshop shop_;
};

TEST_F(PlayTerminal, ShowsTheFrameThatIsHeardAsTimecodeAndQuitsOnQ) {
    TerminalRun run(Arguments({"--from", "10f"}));
    ASSERT_TRUE(run.Shows("  >")) << run.Shown();

    run.Press("q");

    EXPECT_EQ(run.Wait(), 0);
    EXPECT_THAT(run.Shown(), testing::ContainsRegex("00:00:0[0-9]:[0-9][0-9]  >"));
    EXPECT_THAT(run.Shown(), Not(HasSubstr("master")));
}

TEST_F(PlayTerminal, ShowsAMeterForEachTrackAndTheMaster) {
    TerminalRun run(Arguments({"--meters", "--from", "4f"}));

    EXPECT_TRUE(run.Shows("Beat         L [####")) << run.Shown();
    EXPECT_TRUE(run.Shows("master       L [####")) << run.Shown();

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, PausesOnKAndGoesOnFasterWithEachL) {
    TerminalRun run(Arguments({"--from", "100f"}));
    ASSERT_TRUE(run.Shows("  >"));

    run.Press("k");
    ASSERT_TRUE(run.Shows("paused"));
    run.Press("l");
    ASSERT_TRUE(run.Shows("  >"));
    run.Press("l");
    ASSERT_TRUE(run.Shows("> x2"));
    run.Press("lll");
    ASSERT_TRUE(run.Shows("> x4"));
    run.Press("j");
    ASSERT_TRUE(run.Shows("  <"));
    run.Press(" ");
    ASSERT_TRUE(run.Shows("paused"));

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, ArrowsMoveASecondWhilePlayingAndAFrameInAPause) {
    TerminalRun run(Arguments({"--from", "1000f"}));
    ASSERT_TRUE(run.Shows("00:00:40:"));

    run.Press("\x1b[C");
    ASSERT_TRUE(run.Shows("00:00:41:")) << run.Shown();
    run.Press("\x1b[A");
    ASSERT_TRUE(run.Shows("00:00:5")) << run.Shown();
    run.Press("k");
    ASSERT_TRUE(run.Shows("paused"));
    run.Press("\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B");
    ASSERT_TRUE(run.Shows("00:00:00:00  paused")) << run.Shown();
    run.Press("\x1b[C");
    ASSERT_TRUE(run.Shows("00:00:00:01  paused")) << run.Shown();
    run.Press("\x1b[D");
    ASSERT_TRUE(run.Shows("00:00:00:00  paused")) << run.Shown();

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, ControlCStopsItAndPutsTheTerminalBack) {
    TerminalRun run(Arguments({}));
    ASSERT_TRUE(run.Shows("  >"));

    run.Press("\x03");

    EXPECT_EQ(run.Wait(), 130);
    EXPECT_THAT(run.Shown(), HasSubstr("sonrel: interrupted: playback stopped"));
}

}  // namespace
}  // namespace sonrel_tests
