// SPDX-License-Identifier: MIT
#include "host/arrangement/GridChoice.h"

#include <algorithm>
#include <limits>
#include <string>

#include "host/otio/JsonDocument.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr double MAX_ENGINE_RATE = 1000.0;
constexpr double MAX_FRAME = std::numeric_limits<int>::max();

/// The largest factor with at most @p limit frames of the engine a second, at least 1.
int FactorUpTo(double limit, double fps) {
    return static_cast<int>(std::clamp(limit / fps, 1.0, MAX_FRAME));
}

int LargestFactor(const GridMoments& moments, double fps, int rate) {
    double limit = std::min<double>(MAX_ENGINE_RATE, rate);
    if (moments.Last() > 0.0) limit = std::min(limit, MAX_FRAME / moments.Last());
    return FactorUpTo(limit, fps);
}

int WantedFactor(const GridMoments& moments, double fps, int rate,
                 const std::optional<int>& requested) {
    if (!requested) return moments.SmallestFactor(fps, LargestFactor(moments, fps, rate));
    const int max = FactorUpTo(MAX_ENGINE_RATE, fps);
    if (*requested <= max) return *requested;
    throw RateError("a grid of " + std::to_string(*requested) + " is too fine at " +
                    FormatShort(fps) + " frames a second: --grid may be 1 to " +
                    std::to_string(max));
}

}  // namespace

GridChoice ChooseGrid(const GridMoments& moments, double fps, int rate, const RateChoice& choice) {
    const int wanted = WantedFactor(moments, fps, rate, choice.grid);
    if (!choice.gridLimit) return {wanted, false};
    const int limit = FactorUpTo(choice.gridLimit(rate), fps);
    if (wanted <= limit) return {wanted, false};
    if (choice.grid) return {limit, true};
    return {moments.SmallestFactor(fps, limit), true};
}

void ReportShifts(const GridMoments& moments, const GridChoice& grid, double engineRate,
                  ImportReport& report) {
    const GridMoments::Shifts shifts = moments.ShiftsAt(engineRate);
    if (shifts.count == 0) return;
    report.Add("position", *shifts.place,
               "it moves by " + FormatNumber(shifts.largest * 1000.0, 3) +
                   " ms to a frame, the largest of the shifts above 0.5 ms" +
                   (grid.limited ? "; the buffers of the sound device allow --grid " +
                                       std::to_string(grid.factor) + ", a file any grid"
                                 : std::string()),
               Severity::Change, shifts.count);
}

}  // namespace orlo::host::otio
