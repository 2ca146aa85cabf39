// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/GainWindows.h"

#include <algorithm>

namespace orlo::sonrel::detail {
namespace {

/// The part of an amount that is left after a number of cells.
double LeftAfter(const GainWindows& windows, std::size_t cells) {
    const auto age = static_cast<double>(cells) - windows.hold;
    return age <= 0.0 ? 1.0 : 1.0 - age / windows.release;
}

/// The held amounts of the cells from @p first on.
std::vector<double> HeldAmounts(const GainWindows& windows, const std::vector<double>& amounts,
                                std::size_t first) {
    const double largest = *std::max_element(amounts.begin(), amounts.end());
    std::vector<double> held(amounts.size() - first, 0.0);
    // Cells of amount 0 cannot raise the maximum: the search begins at the last other cell, and
    // ends where even the largest amount would be too old.
    std::size_t loud = 0;
    for (std::size_t k = 0; k < amounts.size(); ++k) {
        if (amounts[k] > 0.0) loud = k;
        if (k < first) continue;
        double& most = held[k - first];
        for (std::size_t j = k - loud; j <= first; ++j) {
            const double left = LeftAfter(windows, j);
            if (left * largest <= most) break;
            most = std::max(most, amounts[k - j] * left);
        }
    }
    return held;
}

}  // namespace

std::size_t AmountsFor(const GainWindows& windows, std::size_t points) {
    return points - 1 + static_cast<std::size_t>(windows.CellsBefore() + windows.CellsAfter());
}

std::vector<double> GainPoints(const GainWindows& windows, const std::vector<double>& amounts) {
    const auto attack = static_cast<std::ptrdiff_t>(windows.attack);
    const auto memory = static_cast<std::size_t>(windows.hold + windows.release - 1);
    std::vector<double> ahead = HeldAmounts(windows, amounts, memory);
    if (windows.looksAhead) {
        for (auto at = ahead.begin(); at + attack < ahead.end(); ++at) {
            *at = *std::max_element(at, at + attack + 1);
        }
        ahead.resize(ahead.size() - static_cast<std::size_t>(attack));
    }
    std::vector<double> points;
    points.reserve(ahead.size());
    for (auto at = ahead.begin(); at + attack <= ahead.end(); ++at) {
        double sum = 0.0;
        for (auto each = at; each < at + attack; ++each) sum += *each;
        points.push_back(sum / windows.attack);
    }
    return points;
}

}  // namespace orlo::sonrel::detail
