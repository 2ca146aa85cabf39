// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

namespace orlo::sonrel::detail {

/// Loudness of a mean square, the sum over both channels, full scale 1.0. In LUFS.
double LoudnessOf(double meanSquare);

/// Whether a block is above the absolute gate of -70 LUFS.
bool IsAboveAbsoluteGate(double meanSquare);

/// The mean of the blocks within 10 LU below the mean of all, in LUFS; empty without blocks.
/// @param blocks  mean squares above the absolute gate
std::optional<double> IntegratedLoudness(const std::vector<double>& blocks);

/// The distance between the 10th and the 95th percentile of the blocks within 20 LU below the mean
/// of all, in LU; empty without blocks.
/// @param blocks  mean squares above the absolute gate, in any order
std::optional<double> LoudnessRange(std::vector<double> blocks);

}  // namespace orlo::sonrel::detail
