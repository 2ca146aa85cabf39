// SPDX-License-Identifier: MIT
#include "host/shell/ProgressLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/shell/Timecode.h"

namespace orlo::host {

namespace {

constexpr int MIN_BAR = 6;
constexpr int MAX_BAR = 40;
constexpr int MAX_FILE_COLUMNS = 24;

double DoneShare(const ProgressState& state) {
    if (state.total <= 0) return 1.0;
    return static_cast<double>(state.done) / static_cast<double>(state.total);
}

std::string RoundedClock(double seconds) {
    return ClockText(std::llround(seconds));
}

std::string CountText(const ProgressState& state) {
    if (state.unitsPerSecond > 0.0) {
        return RoundedClock(static_cast<double>(state.done) / state.unitsPerSecond) + " of " +
               RoundedClock(static_cast<double>(state.total) / state.unitsPerSecond);
    }
    return std::to_string(state.done) + " of " + std::to_string(state.total) + " " + state.unit;
}

std::string PercentText(const ProgressState& state) {
    char text[64];
    std::snprintf(text, sizeof(text), "%3.0f %%", std::floor(100.0 * DoneShare(state)));
    return text;
}

std::string Bar(double share, int columns) {
    const int full = static_cast<int>(share * columns);
    return "[" + std::string(static_cast<std::size_t>(full), '#') +
           std::string(static_cast<std::size_t>(columns - full), '-') + "]";
}

/// The line with a bar that fills the columns; empty when they are too few for a bar.
std::string LineWithBar(const ProgressState& state, const std::string& head,
                        const std::string& tail, int columns) {
    const int room = columns - ColumnsOf(head) - ColumnsOf(tail) - 4;
    if (room < MIN_BAR) return {};
    return head + " " + Bar(DoneShare(state), std::min(room, MAX_BAR)) + " " + tail;
}

}  // namespace

std::string ProgressLine(const ProgressState& state, int columns) {
    const int room = std::max(columns - 1, 0);
    const std::string percent = PercentText(state);
    const std::string left = state.secondsLeft < 0.0
                                 ? percent
                                 : percent + ", " + RoundedClock(state.secondsLeft) + " left";
    const std::string named =
        state.file.empty() ? state.step
                           : state.step + " " + CutToColumns(OneLine(state.file), MAX_FILE_COLUMNS);
    const std::vector<std::pair<std::string, std::string>> choices{
        {named, CountText(state) + ", " + left},
        {named, left},
        {state.step, left},
        {state.step, percent}};
    for (const auto& [head, tail] : choices) {
        std::string line = LineWithBar(state, head, tail, room);
        if (!line.empty()) return line;
    }
    return CutToColumns(state.step + " " + percent, room);
}

}  // namespace orlo::host
