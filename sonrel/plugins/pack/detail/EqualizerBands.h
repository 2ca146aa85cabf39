// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/plugins/pack/detail/BiquadFilter.h"

namespace orlo::sonrel::detail {

/// One band of the equalizer.
struct EqualizerBand {
    enum class Kind { LowShelf, Peak, HighShelf };

    Kind kind;
    double frequency;  ///< hertz: middle of the slope of a shelf, or top of a peak
    double gainDb;
    double q;
};

/// After R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients":
/// peakingEQ, lowShelf and highShelf, with A = 10^(gainDb / 40) and alpha = sin(w0) / (2 q).
/// @param rate  hertz; the frequency of the band is below half of it
BiquadCoefficients BandCoefficients(const EqualizerBand& band, int rate);

/// Frames until the slowest decaying pole of a section has decayed by 140 dB; may be very large.
double RingingFrames(const BiquadCoefficients& section);

}  // namespace orlo::sonrel::detail
