// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/LoudnessWindows.h"

#include <cstddef>

namespace orlo::sonrel::detail {
namespace {

/// The sum of @p count values of a ring, @p distance apart, from @p newest backward.
template <std::size_t SIZE>
double SumBackward(const std::array<double, SIZE>& ring, long long newest, int count,
                   int distance) {
    double sum = 0.0;
    for (int i = 0; i < count; ++i) {
        const long long position = newest + static_cast<long long>(SIZE) - i * distance;
        sum += ring[static_cast<std::size_t>(position) % SIZE];
    }
    return sum;
}

}  // namespace

void LoudnessWindows::Add(double energy) {
    const auto at = static_cast<std::size_t>(steps_ % STEPS);
    energies_[at] = energy;
    tenEnergies_[at] = SumBackward(energies_, steps_, TEN, 1);
    ++steps_;
}

/// Sums are always taken anew: a sum that is carried along would keep the rounding errors of a loud
/// passage in the silence after it.
std::optional<double> LoudnessWindows::MeanSquare(int tens) const {
    if (steps_ < tens * TEN) return std::nullopt;
    const double sum = SumBackward(tenEnergies_, steps_ - 1, tens, TEN);
    return sum / (static_cast<double>(tens) * framesOfTenSteps_);
}

}  // namespace orlo::sonrel::detail
