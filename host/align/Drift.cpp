// SPDX-License-Identifier: MIT
#include "host/align/Drift.h"

#include <algorithm>
#include <cmath>

namespace orlo::host {

namespace {

constexpr double DRIFT_ALLOWANCE = 300e-6;  // larger than the difference of any two clocks
constexpr double AGREEMENT_SECONDS = 0.02;  // in addition to their drift
constexpr double MIN_DRIFT_SPAN = 20.0;     // seconds between the first and the last place
constexpr std::size_t MIN_DRIFT_PLACES = 4;

/// Number of frames by which the offset of a place may differ from the offset of the whole.
double AllowedDifference(const Measure& place, const Measure& whole, int rate) {
    const double distance = std::fabs(static_cast<double>(place.place.start - whole.place.start));
    return AGREEMENT_SECONDS * rate + DRIFT_ALLOWANCE * distance;
}

using Points = std::vector<std::pair<double, double>>;

/// A line through the mean of points.
struct Line {
    double meanX = 0.0;
    double meanY = 0.0;
    double slope = 0.0;
    double deviation = 0.0;  ///< root mean square of the distances in y
};

Line FitLine(const Points& points) {
    const auto count = static_cast<double>(points.size());
    Line line;
    for (const auto& [x, y] : points) {
        line.meanX += x / count;
        line.meanY += y / count;
    }
    double covariance = 0.0;
    double variance = 0.0;
    for (const auto& [x, y] : points) {
        covariance += (x - line.meanX) * (y - line.meanY);
        variance += (x - line.meanX) * (x - line.meanX);
    }
    line.slope = covariance / variance;
    double squares = 0.0;
    for (const auto& [x, y] : points) {
        const double distance = y - line.meanY - line.slope * (x - line.meanX);
        squares += distance * distance;
    }
    line.deviation = std::sqrt(squares / count);
    return line;
}

}  // namespace

bool Agrees(const Measure& place, const Measure& whole, int rate) {
    return std::fabs(static_cast<double>(place.offset - whole.offset)) <=
           AllowedDifference(place, whole, rate);
}

double ChanceToAgree(const Measure& place, const Measure& whole, int rate) {
    // Lags of up to the length of the place are searched, and those near 0 are twice as likely.
    return std::min(1.0, 2.0 * AllowedDifference(place, whole, rate) /
                             static_cast<double>(place.place.Count()));
}

std::optional<Drift> FitDrift(const std::vector<Measure>& places, const Measure& whole,
                              const FrameRange& overlap, int rate) {
    Points points;  // frame in B, offset minus the whole's
    for (const Measure& place : places) {
        if (place.correlation < 0.5 * whole.correlation || !Agrees(place, whole, rate)) continue;
        points.emplace_back(static_cast<double>(place.place.start) + 0.5 * place.place.Count(),
                            static_cast<double>(place.offset - whole.offset));
    }
    if (points.size() < MIN_DRIFT_PLACES) return std::nullopt;
    if (points.back().first - points.front().first < MIN_DRIFT_SPAN * rate) return std::nullopt;
    const Line line = FitLine(points);
    return Drift{line.slope * 1e6, line.deviation,
                 line.slope * static_cast<double>(overlap.Count()), line.meanX, line.meanY};
}

}  // namespace orlo::host
