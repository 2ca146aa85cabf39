// SPDX-License-Identifier: MIT
#pragma once

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/play/TerminalScreen.h"

namespace sonrel_tests {

/// A program on a new terminal of a given size.
class TerminalRun {
public:
    /// @param words  the program and its arguments
    explicit TerminalRun(std::vector<std::string> words, unsigned short columns = 80,
                         unsigned short rows = 24)
        : screen_(columns, rows) {
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        const winsize size = {rows, columns, 0, 0};
        child_ = forkpty(&terminal_, nullptr, nullptr, &size);
        if (child_ == 0) {
            setenv("TERM", "xterm", 1);
            execv(pointers[0], pointers.data());
            _exit(127);
        }
    }
    ~TerminalRun() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        // Programs that still run on the terminal receive a hangup signal.
        close(terminal_);
    }
    TerminalRun(const TerminalRun&) = delete;
    TerminalRun& operator=(const TerminalRun&) = delete;

    /// Writes keys; false when the terminal does not take them.
    bool Press(const std::string& keys) {
        return write(terminal_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
    }

    /// Reads until the terminal shows a text.
    /// @return whether the text appeared
    bool Shows(const std::string& text) {
        const auto deadline = Deadline();
        while (shown_.find(text, seen_) == std::string::npos) {
            if (std::chrono::steady_clock::now() > deadline || !ReadMore()) return false;
        }
        seen_ = shown_.find(text, seen_) + text.size();
        return true;
    }

    /// Reads until the screen matches a condition.
    /// @return whether it matched in time
    template <class Condition>
    bool ScreenBecomes(Condition condition) {
        const auto deadline = Deadline();
        while (!condition(screen_)) {
            if (std::chrono::steady_clock::now() > deadline || !ReadMore()) return false;
        }
        return true;
    }

    /// Reads to the end. @return the exit code
    int Wait() {
        while (ReadMore()) continue;
        int status = 0;
        waitpid(std::exchange(child_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void Resize(unsigned short columns, unsigned short rows) {
        screen_.Resize(columns, rows);
        const winsize size = {rows, columns, 0, 0};
        ioctl(terminal_, TIOCSWINSZ, &size);
    }

    /// Whether the terminal takes lines and echoes them, as a terminal normally does.
    bool HasNormalModes() const {
        termios modes = {};
        tcgetattr(terminal_, &modes);
        return (modes.c_lflag & ICANON) != 0 && (modes.c_lflag & ECHO) != 0;
    }

    const std::string& Shown() const { return shown_; }
    const TerminalScreen& Screen() const { return screen_; }

private:
    static std::chrono::steady_clock::time_point Deadline() {
        return std::chrono::steady_clock::now() + std::chrono::seconds(40);
    }

    bool ReadMore() {
        pollfd input = {terminal_, POLLIN, 0};
        if (poll(&input, 1, 20000) <= 0) return false;
        char bytes[4096];
        // A terminal whose program has gone fails.
        const ssize_t count = read(terminal_, bytes, sizeof bytes);
        if (count <= 0) return false;
        shown_.append(bytes, static_cast<std::size_t>(count));
        screen_.Feed(std::string(bytes, static_cast<std::size_t>(count)));
        return true;
    }

    int terminal_ = -1;
    pid_t child_ = -1;
    std::string shown_;
    std::size_t seen_ = 0;
    TerminalScreen screen_;
};

}  // namespace sonrel_tests
