// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::detail {

/// A second-order section with its leading coefficient divided out:
/// y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2].
struct BiquadCoefficients {
    double b0;
    double b1;
    double b2;
    double a1;
    double a2;
};

/// After R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients".
/// @param rate       hertz
/// @param frequency  corner frequency in hertz, above 0 and below half the rate
/// @param q          above 0; 0.7071 has the flattest pass band
BiquadCoefficients LowPassCoefficients(int rate, double frequency, double q);

/// The coefficients of the high-pass.
BiquadCoefficients HighPassCoefficients(int rate, double frequency, double q);

}  // namespace orlo::sonrel::detail
