// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>

namespace orlo::sonrel::detail {

/// The energies of the last three seconds, in steps of 10 milliseconds.
///
/// Every ten consecutive steps have the same number of frames, so that a window of 40 or 300 steps
/// has a constant length wherever it begins.
class LoudnessWindows {
public:
    /// @param framesOfTenSteps  frames of ten steps
    explicit LoudnessWindows(int framesOfTenSteps) : framesOfTenSteps_(framesOfTenSteps) {}

    /// @param energy  the sum of the squares of the next step
    void Add(double energy);

    /// Whether a multiple of ten steps has been added.
    bool IsAtTenSteps() const { return steps_ % TEN == 0; }
    /// Mean square of the last 40 steps; empty before.
    std::optional<double> Momentary() const { return MeanSquare(MOMENTARY_TENS); }
    /// Mean square of the last 300 steps; empty before.
    std::optional<double> ShortTerm() const { return MeanSquare(SHORT_TERM_TENS); }

private:
    static constexpr int TEN = 10;
    static constexpr int MOMENTARY_TENS = 4;
    static constexpr int SHORT_TERM_TENS = 30;
    static constexpr int STEPS = SHORT_TERM_TENS * TEN;

    std::optional<double> MeanSquare(int tens) const;

    int framesOfTenSteps_;
    long long steps_ = 0;
    std::array<double, STEPS> energies_{};     ///< of each step; a ring
    std::array<double, STEPS> tenEnergies_{};  ///< of each step and the nine steps before it
};

}  // namespace orlo::sonrel::detail
