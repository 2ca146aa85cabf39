// SPDX-License-Identifier: MIT
#include "host/PlayDisplay.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "host/Text.h"

namespace orlo::host {

namespace {

constexpr std::size_t NAME_WIDTH = 12;
constexpr int BAR_WIDTH = 24;
/// Lines beside the tracks: the timecode, the master, and one that stays free.
constexpr std::size_t OTHER_LINES = 3;
constexpr const char* UP = "\x1b[A";
constexpr const char* ERASE_LINE = "\r\x1b[K";

/// How many lines the terminal has; what it does not tell is taken for 24.
std::size_t TerminalLines() {
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0) return 24;
    return size.ws_row;
}

std::string FixedWidth(const std::string& name) {
    // Cut between characters: continuation bytes of UTF-8 belong to the one before.
    std::string text;
    std::size_t width = 0;
    for (const char byte : OneLine(name)) {
        const bool begins = (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
        if (begins && width == NAME_WIDTH) break;
        if (begins) ++width;
        text += byte;
    }
    return text + std::string(NAME_WIDTH - width, ' ');
}

}  // namespace

std::string MeterLine(const std::string& name, const SignalMeter& meter, int barWidth) {
    std::string line = FixedWidth(name);
    for (int channel = 0; channel < 2; ++channel) {
        line += std::string(channel == 0 ? " L [" : "  R [") + meter.Bar(channel, barWidth) + "] " +
                (meter.Lamp(channel) ? "CLIP" : "    ");
    }
    return line;
}

PlayDisplay::PlayDisplay(bool quiet, std::vector<std::string> trackNames, bool meters)
    : shown_(!quiet && isatty(STDERR_FILENO) == 1),
      meters_(meters),
      trackNames_(std::move(trackNames)),
      tracks_(trackNames_.size()) {}

PlayDisplay::~PlayDisplay() {
    Erase();
}

void PlayDisplay::Show(const PlayState& state) {
    if (linesDrawn_ > 0 && state == state_) return;
    state_ = state;
    Draw();
}

void PlayDisplay::Show(const sonrel::AudioMetrics& metrics, SignalMeter::Clock::time_point now) {
    const std::size_t count = std::min(tracks_.size(), metrics.trackMetrics.size());
    for (std::size_t i = 0; i < count; ++i) tracks_[i].Show(metrics.trackMetrics[i], now);
    master_.Show(metrics.masterMetrics, now);
    Draw();
}

void PlayDisplay::Reset() {
    tracks_.assign(trackNames_.size(), SignalMeter());
    master_ = SignalMeter();
}

std::vector<std::string> PlayDisplay::Lines() const {
    std::string head = state_.timecode + "  ";
    head += !state_.playing ? "paused" : state_.reverse ? "<" : ">";
    if (state_.playing && state_.speed > 1) head += " x" + std::to_string(state_.speed);
    std::vector<std::string> lines{head};
    if (!meters_) return lines;
    const std::size_t rows = TerminalLines();
    const std::size_t room = rows > OTHER_LINES ? rows - OTHER_LINES : 0;
    for (std::size_t i = 0; i < std::min(room, tracks_.size()); ++i) {
        lines.push_back(MeterLine(trackNames_[i], tracks_[i], BAR_WIDTH));
    }
    lines.push_back(MeterLine("master", master_, BAR_WIDTH));
    return lines;
}

void PlayDisplay::Draw() {
    if (!shown_) return;
    const std::vector<std::string> lines = Lines();
    std::string text;
    for (std::size_t i = 1; i < linesDrawn_; ++i) text += UP;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) text += '\n';
        text += ERASE_LINE;
        text += lines[i];
    }
    linesDrawn_ = lines.size();
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

void PlayDisplay::Erase() {
    if (linesDrawn_ == 0) return;
    std::string text = ERASE_LINE;
    for (std::size_t i = 1; i < linesDrawn_; ++i) text += std::string(UP) + ERASE_LINE;
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
    linesDrawn_ = 0;
}

}  // namespace orlo::host
