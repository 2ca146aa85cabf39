// SPDX-License-Identifier: MIT
#include "host/play/Keys.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "host/shell/Terminal.h"

namespace orlo::host {

namespace {

constexpr char ESCAPE = '\x1b';

std::optional<Key> PlainKey(char byte) {
    switch (byte) {
        case 'j':
        case 'J':
            return Key::Backward;
        case 'k':
        case 'K':
            return Key::Pause;
        case 'l':
        case 'L':
            return Key::Forward;
        case ' ':
            return Key::Toggle;
        case 'q':
        case 'Q':
            return Key::Quit;
        default:
            return std::nullopt;
    }
}

std::optional<Key> ArrowKey(char byte) {
    switch (byte) {
        case 'A':
            return Key::Up;
        case 'B':
            return Key::Down;
        case 'C':
            return Key::Right;
        case 'D':
            return Key::Left;
        default:
            return std::nullopt;
    }
}

}  // namespace

std::optional<Key> KeyDecoder::Feed(char byte) {
    if (byte == ESCAPE) {
        escape_ = byte;
        return std::nullopt;
    }
    if (escape_.empty()) return PlainKey(byte);
    escape_ += byte;
    // ESC [ A or ESC O A. Longer sequences continue with digits and semicolons and end with a
    // letter.
    if (escape_.size() == 2 && (byte == '[' || byte == 'O')) return std::nullopt;
    if (escape_.size() > 2 && (byte == ';' || (byte >= '0' && byte <= '9'))) return std::nullopt;
    const bool arrow = escape_.size() == 3;
    escape_.clear();
    return arrow ? ArrowKey(byte) : std::nullopt;
}

TerminalKeys::TerminalKeys() : terminal_(isatty(STDIN_FILENO) == 1) {
    Prepare();
}

TerminalKeys::~TerminalKeys() {
    Release();
}

/// Switches line input and echo off. Called before each wait, because a shell that continues a
/// stopped program may have set other modes.
/// @return whether keys can be read
bool TerminalKeys::Prepare() {
    termios modes = {};
    if (!terminal_ || !InForeground(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &modes) != 0) {
        return false;
    }
    constexpr auto LINE_MODES = static_cast<tcflag_t>(ICANON | ECHO);
    if ((modes.c_lflag & LINE_MODES) == 0) return true;
    former_ = modes;
    modes.c_lflag &= ~LINE_MODES;
    modes.c_cc[VMIN] = 0;
    modes.c_cc[VTIME] = 0;
    changed_ = tcsetattr(STDIN_FILENO, TCSANOW, &modes) == 0;
    return changed_;
}

void TerminalKeys::Release() {
    // In the background the modes belong to the shell.
    if (std::exchange(changed_, false) && InForeground(STDIN_FILENO)) {
        tcsetattr(STDIN_FILENO, TCSANOW, &former_);
    }
}

std::vector<Key> TerminalKeys::Read(std::chrono::milliseconds wait) {
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    const int ready = poll(&input, Prepare() ? 1 : 0, static_cast<int>(wait.count()));
    std::vector<Key> keys;
    if (ready <= 0) return keys;
    char bytes[64];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    // The terminal is closed and sends no more keys.
    if ((input.revents & POLLHUP) != 0 || (count < 0 && errno == EIO)) terminal_ = false;
    for (ssize_t i = 0; i < count; ++i) {
        if (const std::optional<Key> key = decoder_.Feed(bytes[i])) keys.push_back(*key);
    }
    return keys;
}

}  // namespace orlo::host
