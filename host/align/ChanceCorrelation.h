// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/align/RecordingPair.h"

namespace orlo::host {

/// Two ranges of interleaved stereo of equal length.
struct StereoRanges {
    std::vector<float> a;
    std::vector<float> b;
};

/// The number of independent values of a correlation of two ranges when the sounds are unrelated.
/// The number is smaller the narrower the spectra, the more the loud moments coincide, and the
/// shorter the ranges are. It is the number of the channel with fewer values.
/// @return 0.0 when no channel has sound in both ranges
double IndependentValues(const StereoRanges& ranges, int rate);

/// The correlation that unrelated sounds exceed at any of the tried offsets with a probability of
/// at most @p probability.
/// @param values       number of independent values of each correlation
/// @param logTrials    natural logarithm of the number of offsets
/// @return up to 1.0, which no correlation exceeds
double LargestByChance(double values, double logTrials, double probability);

/// The correlation that unrelated recordings with the same character as the compared range reach at
/// any offset with a probability of 0.001. Places along the overlap that agree with the range lower
/// it.
double ChanceCorrelation(const RecordingPair& pair, const Measure& whole,
                         const std::vector<Measure>& places);

}  // namespace orlo::host
