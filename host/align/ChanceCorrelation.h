// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/align/RecordingPair.h"

namespace orlo::host {

/// Two equally long stretches of interleaved stereo.
struct StereoStretches {
    std::vector<float> a;
    std::vector<float> b;
};

/// How many independent values a correlation of two stretches rests on, where the sounds are
/// unrelated: the fewer, the narrower their spectra are, the more their loud moments coincide, and
/// the shorter they are. Both stretches of one channel decide, the channel with the fewer values.
/// @return 0.0 where no channel has sound in both
double IndependentValues(const StereoStretches& stretches, int rate);

/// The correlation that unrelated sounds exceed at any of the offsets that are tried with the
/// probability @p probability at most.
/// @param values       independent values that each correlation rests on
/// @param logTrials    natural logarithm of the number of offsets
/// @return up to 1.0, which no correlation exceeds
double LargestByChance(double values, double logTrials, double probability);

/// The correlation that unrelated recordings reach at one of all their offsets with a probability
/// of 0.001, where they sound like these two in the stretch that was compared. Places along the
/// overlap that agree with the stretch lower it.
double ChanceCorrelation(const RecordingPair& pair, const Measure& whole,
                         const std::vector<Measure>& places);

}  // namespace orlo::host
