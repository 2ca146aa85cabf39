// SPDX-License-Identifier: MIT
#include "host/waveform/TimeRuler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

/// The time between two labels, and the number of parts into which marks divide it.
struct RulerStep {
    double seconds;
    int parts;
};

constexpr int LABEL_GAP = 14;
constexpr int LABEL_INDENT = 3;  ///< distance from a mark to its label

/// Steps of time in rising order: 1e-6 s, 2e-6 s, 5e-6 s and so on below a second, then seconds,
/// minutes and hours.
RulerStep StepAt(int index) {
    constexpr int BELOW_A_SECOND = 18;
    constexpr RulerStep DECIMAL[] = {{1.0, 5}, {2.0, 4}, {5.0, 5}};
    constexpr RulerStep CLOCK[] = {{1, 5},   {2, 4},    {5, 5},    {10, 5},  {15, 3},
                                   {30, 3},  {60, 4},   {120, 4},  {300, 5}, {600, 5},
                                   {900, 3}, {1800, 3}, {3600, 4}, {7200, 4}};
    constexpr int CLOCK_STEPS = 14;
    if (index < BELOW_A_SECOND) {
        const RulerStep& step = DECIMAL[index % 3];
        return {step.seconds * std::pow(10.0, index / 3 - 6), step.parts};
    }
    if (index < BELOW_A_SECOND + CLOCK_STEPS) return CLOCK[index - BELOW_A_SECOND];
    const int beyond = index - BELOW_A_SECOND - CLOCK_STEPS;
    const RulerStep& step = DECIMAL[(beyond + 2) % 3];
    return {3600.0 * step.seconds * std::pow(10.0, (beyond + 2) / 3), step.parts};
}

int LabelWidth(const std::string& label) {
    return static_cast<int>(label.size()) * RULER_CHARACTER_WIDTH + LABEL_INDENT;
}

int DecimalsOf(double step) {
    return step >= 1.0 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
}

}  // namespace

std::string RulerLabel(double seconds, double step) {
    const int decimals = DecimalsOf(step);
    const double unit = std::pow(10.0, decimals);
    const long long units = zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * unit));
    const long long perSecond = std::llround(unit);
    const long long whole = units / perSecond;
    char text[64];
    if (whole >= 3600) {
        std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    } else {
        std::snprintf(text, sizeof(text), "%lld:%02lld", whole / 60, whole % 60);
    }
    std::string label = text;
    if (decimals > 0) {
        const std::string digits = std::to_string(units % perSecond);
        const auto places = static_cast<std::size_t>(decimals);
        label += '.';
        label.append(places - std::min(places, digits.size()), '0');
        label += digits;
    }
    return label;
}

std::vector<RulerTick> RulerTicks(double startSeconds, double endSeconds, int width) {
    const double pixelsPerSecond = width / (endSeconds - startSeconds);
    int index = 0;
    RulerStep step = StepAt(0);
    while (step.seconds * pixelsPerSecond <
           LabelWidth(RulerLabel(endSeconds, step.seconds)) + LABEL_GAP) {
        step = StepAt(++index);
    }
    std::vector<RulerTick> ticks;
    const double part = step.seconds / step.parts;
    const auto first = static_cast<long long>(std::ceil(startSeconds / part - 1e-9));
    for (long long i = first;; ++i) {
        const double seconds = static_cast<double>(i) * part;
        const double x = (seconds - startSeconds) * pixelsPerSecond;
        if (!(x < width)) return ticks;
        RulerTick tick{x, {}};
        if (i % step.parts == 0) {
            tick.label = RulerLabel(seconds, step.seconds);
            if (x + LabelWidth(tick.label) > width) tick.label.clear();
        }
        ticks.push_back(tick);
    }
}

}  // namespace orlo::host
