// SPDX-License-Identifier: MIT
#include "host/arrangement/GridMoments.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "sonrel/base/Timing.h"

namespace orlo::host::otio {

namespace {

/// The error of positions, which are sums in double precision, in seconds.
constexpr double SUM_ERROR = 1e-9;
constexpr double MAX_SHIFT = 0.0005 + SUM_ERROR;

using Time = std::pair<double, double>;  // seconds and speed

double Shift(double seconds, double speed, double frameRate) {
    const double frames = zrtl::RoundHalfAway(seconds * frameRate / speed);
    return std::abs(frames * speed / frameRate - seconds);
}

/// The largest shift of several times, or some shift of at least @p enough. The time with that
/// shift moves to the front: it probably exceeds the limit at the next frame rate too, which ends
/// the next search at once.
double LargestShift(std::vector<Time>& times, double frameRate, double enough) {
    double largest = 0.0;
    for (Time& time : times) {
        const double shift = Shift(time.first, time.second, frameRate);
        if (shift >= enough) {
            std::swap(time, times.front());
            return shift;
        }
        largest = std::max(largest, shift);
    }
    return largest;
}

}  // namespace

void GridMoments::Add(double seconds, const SourceLocation& place, double speed) {
    moments_.push_back({seconds, speed, &place});
    Reach(std::abs(seconds) / speed);
}

void GridMoments::Reach(double seconds) {
    last_ = std::max(last_, seconds);
}

GridMoments::Shifts GridMoments::ShiftsAt(double frameRate) const {
    Shifts shifts;
    for (const Moment& moment : moments_) {
        const double shift = Shift(moment.seconds, moment.speed, frameRate);
        if (shift <= MAX_SHIFT) continue;
        ++shifts.count;
        if (shift <= shifts.largest + SUM_ERROR) continue;
        shifts.largest = shift;
        shifts.place = moment.place;
    }
    return shifts;
}

int GridMoments::SmallestFactor(double fps, int max) const {
    std::vector<Time> times;
    times.reserve(moments_.size());
    for (const Moment& moment : moments_) times.emplace_back(moment.seconds, moment.speed);
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    int best = 1;
    double smallest = std::numeric_limits<double>::infinity();
    for (int factor = 1; factor <= max; ++factor) {
        const double enough = smallest - SUM_ERROR;
        const double shift = LargestShift(times, factor * fps, enough);
        if (shift >= enough) continue;
        if (shift <= MAX_SHIFT) return factor;
        best = factor;
        smallest = shift;
    }
    return best;
}

}  // namespace orlo::host::otio
