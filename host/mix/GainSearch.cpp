// SPDX-License-Identifier: MIT
#include "host/mix/GainSearch.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Errors.h"

namespace orlo::host {

namespace {

constexpr int MAX_MEASUREMENTS = 12;
/// Distance of a lowered mix from full scale, more than the dither noise.
constexpr double HEADROOM_DB = 0.1;
/// The levels of a mix that is raised by more than this are measured again.
constexpr double MAX_RAISE_DB = 12.0;
/// Upper limit of the change of the true peak by dither and rounding, relative to full scale.
constexpr double NOISE_PEAK = 4.0 / 32768.0;

double ToDecibels(double factor) {
    return 20.0 * std::log10(factor);
}

double ToFactor(double decibels) {
    return std::pow(10.0, decibels / 20.0);
}

/// The distance to the true-peak limit, less the room for the dither noise.
double RoomBelowLimit(const LoudnessTarget& target, const MixLevels& levels) {
    const double limit = std::max(ToFactor(target.truePeakDb) - NOISE_PEAK, NOISE_PEAK);
    return ToDecibels(limit) - *levels.truePeakDb;
}

double Lowering(const MixLevels& levels) {
    if (!std::isfinite(levels.peak)) throw JobError("the mix has values that are not finite");
    return std::max(ToDecibels(levels.peak), 0.0) + HEADROOM_DB;
}

void RequireLoudness(const MixLevels& levels) {
    if (levels.lufs && levels.truePeakDb) return;
    throw JobError(
        "the mix has no loudness to normalize: it is silent, or shorter than 0.4 seconds; leave "
        "out --normalize");
}

}  // namespace

FoundGain FindGain(const LoudnessTarget& target, const MeasureMix& measure) {
    FoundGain found;
    while (found.measurements < MAX_MEASUREMENTS) {
        const double gain = found.gainDb;
        const MixLevels levels = measure(gain);
        ++found.measurements;
        if (levels.clips) {
            found.gainDb -= Lowering(levels);
            continue;
        }
        RequireLoudness(levels);
        const double room = RoomBelowLimit(target, levels);
        const double wanted = target.lufs - *levels.lufs;
        found.limitedByTruePeak = room < wanted;
        found.measuredLufs = *levels.lufs - gain;
        found.measuredTruePeakDb = *levels.truePeakDb - gain;
        const double change = std::min(room, wanted);
        found.gainDb += change;
        if (change <= MAX_RAISE_DB) return found;
    }
    throw JobError("the mix cannot be normalized: it clips at every level");
}

}  // namespace orlo::host
