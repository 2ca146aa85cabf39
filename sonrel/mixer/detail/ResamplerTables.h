// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/detail/ResamplerFormula.h"

namespace orlo::sonrel::detail {

/// Taps of a table row: TAP_COUNT and zeros up to whole vectors of eight.
constexpr int ROW_LENGTH = 56;

/// Fractions of a position that have a separate row of weights: m / ROW_COUNT.
constexpr int ROW_COUNT = 64;

/// Sub-intervals of the fraction, and the degree of the polynomial for the weight of a tap on one
/// interval.
constexpr int INTERVAL_COUNT = 64;
constexpr int WEIGHT_DEGREE = 4;

/// Upper bounds of the distance between a tabulated sum and the sum of the formula.
///
/// A tap's weight is an entire function w(k - f) of the fraction f of the position, at most 1 in
/// size and band-limited to 2 pi (1/2 + 1/51) < 3.27, so its fifth derivative is at most 3.27^5
/// (Bernstein). Interpolation at the five Chebyshev nodes of an interval of width 1/64 errs by at
/// most 3.27^5 / (5! * 2^4) * (1/128)^5 = 5.7e-12 a tap, and by 49 * 32768 times as much, 9.1e-6,
/// in a sum. Rows hold the formula's own weights: there only the order of the additions differs,
/// by less than 49 * 49 * 32768 * 2^-53 = 8.8e-9, as it does, with the rounding of the
/// coefficients, for the polynomials.
constexpr double POLYNOMIAL_MARGIN = 2e-5;
constexpr double ROW_MARGIN = 1e-7;

/// The weights of one rate.
struct alignas(64) ResamplerTables {
    /// @param tableRate  hertz, at least 2
    explicit ResamplerTables(int tableRate);

    int rate;
    double cutoff;
    /// rows[m][k - FIRST_TAP]: the formula's weight of tap k at the fraction m / ROW_COUNT.
    alignas(64) double rows[ROW_COUNT][ROW_LENGTH];
    /// polynomials[j][m][k - FIRST_TAP]: the factor of t^m, where t is the fraction minus the
    /// middle of interval j.
    alignas(64) double polynomials[INTERVAL_COUNT][WEIGHT_DEGREE + 1][ROW_LENGTH];
};

}  // namespace orlo::sonrel::detail
