// SPDX-License-Identifier: MIT
#include "host/play/PlayDisplay.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "host/play/MeterLayout.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"

namespace orlo::host {

namespace {

constexpr const char* LINE_START = "\r";
constexpr const char* NEXT_LINE = "\r\n";
constexpr const char* ERASE_LINE_END = "\x1b[K";
constexpr const char* ERASE_SCREEN_END = "\x1b[J";

std::string CursorUp(std::size_t lines) {
    return lines == 0 ? std::string() : "\x1b[" + std::to_string(lines) + "A";
}

/// "  M -18.2 S -20.4 LUFS": the momentary and the short-term loudness, as far as they are known.
std::string LoudnessColumns(const sonrel::PlaybackLoudness& loudness) {
    if (!loudness.momentaryLufs && !loudness.shortTermLufs) return {};
    const auto column = [](const std::optional<double>& lufs) {
        return lufs ? FormatNumber(*lufs, 1) : std::string("--");
    };
    return "  M " + column(loudness.momentaryLufs) + " S " + column(loudness.shortTermLufs) +
           " LUFS";
}

void Print(const std::string& text) {
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

}  // namespace

PlayDisplay::PlayDisplay(bool quiet, std::vector<std::string> trackNames, bool meters)
    : shown_(!quiet && CanDraw(STDERR_FILENO)),
      meters_(meters),
      trackNames_(std::move(trackNames)),
      tracks_(trackNames_.size()) {}

PlayDisplay::~PlayDisplay() {
    Erase();
}

void PlayDisplay::Show(const PlayState& state) {
    if (linesDrawn_ > 0 && state == state_ && SizeOfTerminal(STDERR_FILENO) == size_ &&
        InForeground(STDERR_FILENO)) {
        return;
    }
    state_ = state;
    Draw();
}

void PlayDisplay::Show(const sonrel::AudioMetrics& metrics,
                       const sonrel::PlaybackLoudness& loudness,
                       SignalMeter::Clock::time_point now) {
    const std::size_t count = std::min(tracks_.size(), metrics.trackMetrics.size());
    for (std::size_t i = 0; i < count; ++i) tracks_[i].Show(metrics.trackMetrics[i], now);
    master_.Show(metrics.masterMetrics, now);
    loudness_ = loudness;
    Draw();
}

void PlayDisplay::Reset() {
    tracks_.assign(trackNames_.size(), SignalMeter());
    master_ = SignalMeter();
    loudness_ = {};
}

std::string PlayDisplay::FirstLine(std::size_t tracksShown) const {
    std::string line = state_.timecode + "  ";
    line += !state_.playing ? "paused" : state_.reverse ? "<" : ">";
    if (state_.playing && state_.speed > 1) line += " x" + std::to_string(state_.speed);
    if (meters_) line += LoudnessColumns(loudness_);
    if (!state_.readError.empty()) line += "  " + state_.readError;
    if (meters_ && tracksShown < tracks_.size()) {
        line += "  " + std::to_string(tracks_.size() - tracksShown) + " of " +
                std::to_string(tracks_.size()) + " tracks do not fit";
    }
    return line;
}

std::vector<std::string> PlayDisplay::Lines() const {
    const MeterLayout layout(size_, trackNames_);
    std::vector<std::string> lines{CutToColumns(FirstLine(layout.tracks), layout.columns)};
    if (!meters_) return lines;
    for (std::size_t i = 0; i < layout.tracks; ++i) {
        lines.push_back(MeterLine(trackNames_[i], tracks_[i], layout));
    }
    if (layout.master) lines.push_back(MeterLine("master", master_, layout));
    return lines;
}

/// Between two drawings the cursor is at the start of the first line. A terminal that rewraps its
/// lines after a resize moves the cursor with that line, so the drawing is always below the cursor.
void PlayDisplay::Draw() {
    if (!shown_) return;
    if (!InForeground(STDERR_FILENO)) {
        linesDrawn_ = 0;
        return;
    }
    size_ = SizeOfTerminal(STDERR_FILENO);
    const std::vector<std::string> lines = Lines();
    std::string text = LINE_START;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        text += (i > 0 ? NEXT_LINE : "") + lines[i] + ERASE_LINE_END;
    }
    text += ERASE_SCREEN_END + CursorUp(lines.size() - 1) + LINE_START;
    linesDrawn_ = lines.size();
    Print(text);
}

void PlayDisplay::Erase() {
    if (linesDrawn_ == 0 || !InForeground(STDERR_FILENO)) return;
    Print(std::string(LINE_START) + ERASE_SCREEN_END);
    linesDrawn_ = 0;
}

}  // namespace orlo::host
