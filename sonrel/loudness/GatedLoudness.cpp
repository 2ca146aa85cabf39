// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/GatedLoudness.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace orlo::sonrel::detail {
namespace {

/// Loudness of a mean square of 1.0: the filter raises a tone of 997 Hz by this much, and the
/// standard subtracts it.
constexpr double LOUDNESS_OFFSET = -0.691;
constexpr double ABSOLUTE_GATE = -70.0;
/// 10 LU and 20 LU below, as factors.
constexpr double INTEGRATED_GATE = 0.1;
constexpr double RANGE_GATE = 0.01;
constexpr double LOW_PERCENTILE = 0.10;
constexpr double HIGH_PERCENTILE = 0.95;

double Mean(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

/// The value at a percentile of a list, by the nearest rank. Reorders the list.
double Percentile(std::vector<double>& values, double percentile) {
    const double rank = std::floor(static_cast<double>(values.size() - 1) * percentile + 0.5);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

}  // namespace

double LoudnessOf(double meanSquare) {
    return LOUDNESS_OFFSET + 10.0 * std::log10(meanSquare);
}

bool IsAboveAbsoluteGate(double meanSquare) {
    static const double GATE = std::pow(10.0, (ABSOLUTE_GATE - LOUDNESS_OFFSET) / 10.0);
    return meanSquare > GATE;
}

std::optional<double> IntegratedLoudness(const std::vector<double>& blocks) {
    if (blocks.empty()) return std::nullopt;
    const double gate = Mean(blocks) * INTEGRATED_GATE;
    double sum = 0.0;
    std::size_t count = 0;
    for (const double block : blocks) {
        if (!(block > gate)) continue;
        sum += block;
        ++count;
    }
    return LoudnessOf(sum / static_cast<double>(count));
}

std::optional<double> LoudnessRange(std::vector<double> blocks) {
    if (blocks.empty()) return std::nullopt;
    const double gate = Mean(blocks) * RANGE_GATE;
    blocks.erase(std::remove_if(blocks.begin(), blocks.end(),
                                [gate](double block) { return !(block > gate); }),
                 blocks.end());
    const double low = Percentile(blocks, LOW_PERCENTILE);
    const double high = Percentile(blocks, HIGH_PERCENTILE);
    return LoudnessOf(high) - LoudnessOf(low);
}

}  // namespace orlo::sonrel::detail
