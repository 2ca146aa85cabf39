// SPDX-License-Identifier: MIT
#pragma once

#include <termios.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orlo::host {

/// What a key asks a player for.
enum class Key { Backward, Pause, Forward, Toggle, Left, Right, Up, Down, Quit };

/// Makes keys of the bytes that a terminal sends. The arrows come as three bytes each.
class KeyDecoder {
public:
    /// Takes the next byte. @return the key that it completes
    std::optional<Key> Feed(char byte);

private:
    std::string escape_;  ///< a sequence that has begun
};

/// Keys of the terminal on standard input, each as soon as it is pressed. Without a terminal, and
/// while the program is in the background, there are none. The terminal has its normal modes again
/// at the end, and between Release and the next Read.
class TerminalKeys {
public:
    TerminalKeys();
    ~TerminalKeys();
    TerminalKeys(const TerminalKeys&) = delete;
    TerminalKeys& operator=(const TerminalKeys&) = delete;

    /// Waits for a key, a signal or the end of the time.
    std::vector<Key> Read(std::chrono::milliseconds wait);
    /// Puts the terminal into its normal modes.
    void Release();

private:
    bool Prepare();

    bool terminal_;
    bool changed_ = false;
    termios former_ = {};  ///< while changed_
    KeyDecoder decoder_;
};

}  // namespace orlo::host
