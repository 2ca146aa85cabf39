// SPDX-License-Identifier: MIT
#include "host/arrangement/LevelCurves.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sonrel/base/Timing.h"

namespace orlo::host::otio {

namespace {

std::optional<LevelCurve::Key> ToKey(const LevelKey& key, Level::Clock clock, double fps,
                                     double cutSeconds) {
    double ms = key.time;
    if (clock == Level::Clock::Frames) ms = key.time / fps * 1000.0;
    ms = zrtl::RoundHalfAway(ms - cutSeconds * 1000.0);
    if (!(std::abs(ms) < std::numeric_limits<int>::max())) return std::nullopt;
    return LevelCurve::Key{static_cast<int>(ms), key.decibels};
}

}  // namespace

LevelCurve ToCurve(const Level& level, double fps, double cutSeconds, const SourceLocation& place,
                   ImportReport& report) {
    LevelCurve curve;
    curve.decibels = level.decibels;
    for (const LevelKey& key : level.keys) {
        if (const std::optional<LevelCurve::Key> placed =
                ToKey(key, level.clock, fps, cutSeconds)) {
            curve.keys.push_back(*placed);
        } else {
            report.Add("level key", place, "its time is out of range");
        }
    }
    std::stable_sort(
        curve.keys.begin(), curve.keys.end(),
        [](const LevelCurve::Key& a, const LevelCurve::Key& b) { return a.timeMs < b.timeMs; });
    return curve;
}

}  // namespace orlo::host::otio
