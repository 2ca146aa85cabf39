// SPDX-License-Identifier: MIT
#include "host/shell/TimeRuler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

#include "host/shell/Timecode.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

/// The time between two labels, and the number of parts into which marks divide it.
struct RulerStep {
    double seconds;
    int parts;
};

constexpr int LABEL_GAP = 14;
constexpr int FIRST_SECONDS = 18;  ///< index of the step of a second

/// Steps of time in rising order: 1e-6 s, 2e-6 s, 5e-6 s and so on below a second, then seconds,
/// minutes and hours.
RulerStep SecondsStepAt(int index) {
    constexpr RulerStep DECIMAL[] = {{1.0, 5}, {2.0, 4}, {5.0, 5}};
    constexpr RulerStep CLOCK[] = {{1, 5},   {2, 4},    {5, 5},    {10, 5},  {15, 3},
                                   {30, 3},  {60, 4},   {120, 4},  {300, 5}, {600, 5},
                                   {900, 3}, {1800, 3}, {3600, 4}, {7200, 4}};
    constexpr int CLOCK_STEPS = 14;
    if (index < FIRST_SECONDS) {
        const RulerStep& step = DECIMAL[index % 3];
        return {step.seconds * std::pow(10.0, index / 3 - 6), step.parts};
    }
    if (index < FIRST_SECONDS + CLOCK_STEPS) return CLOCK[index - FIRST_SECONDS];
    const int beyond = index - FIRST_SECONDS - CLOCK_STEPS;
    const RulerStep& step = DECIMAL[(beyond + 2) % 3];
    return {3600.0 * step.seconds * std::pow(10.0, (beyond + 2) / 3), step.parts};
}

/// Pixels from a mark to the end of its label.
int LabelReach(const std::string& label, const TextWidth& widthOf) {
    return RULER_LABEL_X + widthOf(label);
}

int DecimalsOf(double step) {
    return step >= 1.0 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
}

/// Collects marks from left to right. A label that would overlap the label before it, or extend
/// beyond the picture, is left out.
class LabelRow {
public:
    LabelRow(int width, const TextWidth& widthOf) : width_(width), widthOf_(widthOf) {}

    void Add(double x, const std::string& label) {
        const bool fits = !label.empty() && x >= free_ && x + LabelReach(label, widthOf_) <= width_;
        ticks_.push_back({x, fits ? label : std::string()});
        if (fits) free_ = x + LabelReach(label, widthOf_);
    }

    std::vector<RulerTick> Ticks() { return std::move(ticks_); }

private:
    int width_;
    const TextWidth& widthOf_;
    double free_ = 0.0;
    std::vector<RulerTick> ticks_;
};

/// A step of timecode numbers, as if no number were dropped.
struct NumberStep {
    long long numbers;
    int parts;
};

/// A timecode and its frame, from the start of the stream.
struct TimecodeMark {
    std::string text;
    long long frame;
};

/// Counts timecode numbers from 00:00:00:00, as if no number were dropped.
class TimecodeCounter {
public:
    explicit TimecodeCounter(const RulerClock& clock)
        : clock_(clock), nominal_(std::llround(clock.fps)) {}

    /// Steps in rising order: the frames that divide a second, and a second and more.
    NumberStep StepAt(int index) const {
        for (long long frames = 1; frames <= nominal_ / 2; ++frames) {
            if (nominal_ % frames == 0 && index-- == 0) return {frames, 1};
        }
        const RulerStep step = SecondsStepAt(FIRST_SECONDS + index);
        const long long numbers = static_cast<long long>(step.seconds) * nominal_;
        return {numbers, numbers % step.parts == 0 ? step.parts : 1};
    }

    /// A multiple of @p part at or before the number of a frame of the stream. Dropped numbers make
    /// the number larger than the frame.
    long long FirstNumber(double frame, long long part) const {
        const double first = frame + static_cast<double>(clock_.startFrame);
        return std::max(0LL, static_cast<long long>(first) / part - 1) * part;
    }

    TimecodeMark MarkAt(long long number) const {
        for (;; ++number) {
            const std::string text = TextOf(number);
            const std::optional<double> frame = FrameOfTimecode(text, clock_.fps);
            if (frame) return {text, std::llround(*frame) - clock_.startFrame};
        }
    }

private:
    std::string TextOf(long long number) const {
        const long long seconds = number / nominal_;
        char text[64];
        std::snprintf(text, sizeof(text), "%02lld:%02lld:%02lld%c%02lld", seconds / 3600,
                      seconds / 60 % 60, seconds % 60, clock_.dropFrame ? ';' : ':',
                      number % nominal_);
        return text;
    }

    RulerClock clock_;
    long long nominal_;
};

}  // namespace

std::string RulerLabel(double seconds, double step) {
    const int decimals = DecimalsOf(step);
    const double unit = std::pow(10.0, decimals);
    const long long signedUnits = zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * unit));
    const long long units = std::abs(signedUnits);
    const long long perSecond = std::llround(unit);
    std::string label = (signedUnits < 0 ? "-" : "") + ClockText(units / perSecond);
    if (decimals > 0) {
        const std::string digits = std::to_string(units % perSecond);
        const auto places = static_cast<std::size_t>(decimals);
        label += '.';
        label.append(places - std::min(places, digits.size()), '0');
        label += digits;
    }
    return label;
}

int NominalWidth(const std::string& text) {
    constexpr int CHARACTER_WIDTH = 7;
    return static_cast<int>(text.size()) * CHARACTER_WIDTH;
}

std::vector<RulerTick> RulerTicks(double startSeconds, double endSeconds, int width,
                                  const TextWidth& widthOf) {
    const double pixelsPerSecond = width / (endSeconds - startSeconds);
    int index = 0;
    RulerStep step = SecondsStepAt(0);
    while (step.seconds * pixelsPerSecond <
           std::max(LabelReach(RulerLabel(startSeconds, step.seconds), widthOf),
                    LabelReach(RulerLabel(endSeconds, step.seconds), widthOf)) +
               LABEL_GAP) {
        step = SecondsStepAt(++index);
    }
    LabelRow row(width, widthOf);
    const double part = step.seconds / step.parts;
    const auto first = static_cast<long long>(std::ceil(startSeconds / part - 1e-9));
    for (long long i = first;; ++i) {
        const double seconds = static_cast<double>(i) * part;
        const double x = (seconds - startSeconds) * pixelsPerSecond;
        if (!(x < width)) return row.Ticks();
        row.Add(x, i % step.parts == 0 ? RulerLabel(seconds, step.seconds) : std::string());
    }
}

std::vector<RulerTick> TimecodeTicks(double startSeconds, double endSeconds, int width,
                                     const RulerClock& clock, const TextWidth& widthOf) {
    const double pixelsPerFrame = width / (endSeconds - startSeconds) / clock.fps;
    const int reach = LabelReach("00:00:00:00", widthOf) + LABEL_GAP;
    const TimecodeCounter counter(clock);
    int index = 0;
    while (static_cast<double>(counter.StepAt(index).numbers) * pixelsPerFrame < reach) ++index;
    const NumberStep step = counter.StepAt(index);
    LabelRow row(width, widthOf);
    const long long part = step.numbers / step.parts;
    const double startFrame = startSeconds * clock.fps;
    double next = -1e-6;
    for (long long number = counter.FirstNumber(startFrame, part);; number += part) {
        const TimecodeMark mark = counter.MarkAt(number);
        const double x = (static_cast<double>(mark.frame) - startFrame) * pixelsPerFrame;
        if (!(x < width)) return row.Ticks();
        if (x < next) continue;
        row.Add(std::max(x, 0.0), number % step.numbers == 0 ? mark.text : std::string());
        // Dropped numbers have the frame of the number after them.
        next = x + pixelsPerFrame / 2.0;
    }
}

}  // namespace orlo::host
