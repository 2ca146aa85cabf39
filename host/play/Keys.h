// SPDX-License-Identifier: MIT
#pragma once

#include <termios.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orlo::host {

/// The command of a key to a player.
enum class Key { Backward, Pause, Forward, Toggle, Left, Right, Up, Down, Quit };

/// Decodes keys from the bytes that a terminal sends. An arrow key is a sequence of three bytes.
class KeyDecoder {
public:
    /// Decodes the next byte.
    /// @return the key that the byte completes
    std::optional<Key> Feed(char byte);

private:
    std::string escape_;  ///< an incomplete escape sequence
};

/// Reads keys from the terminal on standard input as soon as they are pressed. Without a terminal,
/// and while the program is in the background, it reads none. The destructor restores the normal
/// modes of the terminal; so does Release, until the next Read.
class TerminalKeys {
public:
    TerminalKeys();
    ~TerminalKeys();
    TerminalKeys(const TerminalKeys&) = delete;
    TerminalKeys& operator=(const TerminalKeys&) = delete;

    /// Waits until a key is pressed, a signal arrives or @p wait has elapsed.
    std::vector<Key> Read(std::chrono::milliseconds wait);
    /// Restores the normal modes of the terminal.
    void Release();

private:
    bool Prepare();

    bool terminal_;
    bool changed_ = false;
    termios former_ = {};  ///< valid while changed_
    KeyDecoder decoder_;
};

}  // namespace orlo::host
