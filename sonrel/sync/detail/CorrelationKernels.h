// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

namespace orlo::sonrel::detail {

/// Multiplies A with the conjugate of B, point by point, and conjugates the product, as an inverse
/// transform begins.
/// @param product  may be A or B
void MultiplyConjugate(const double* a, const double* b, std::size_t points, double* product);

/// The largest quotient of a correlation and where it stands.
struct Peak {
    double correlation = 0.0;  ///< without sign
    std::size_t position = 0;  ///< in doubles
};

/// A correlation of which some values at the beginning are scaled already, and the others are not.
struct Correlation {
    const double* values = nullptr;  ///< real and imaginary parts in turn
    std::size_t count = 0;           ///< doubles, even
    std::size_t scaled = 0;          ///< doubles at the beginning that stand as they are
    double scale = 1.0;              ///< what the others are to be multiplied with: a power of two
};

/// Finds the peak among the real parts divided by @p divisor: the largest absolute value, the first
/// of equal ones. Quotients that are not a number never win, so that 0.0 at 0 is the answer where
/// there is no other.
Peak FindPeak(const Correlation& correlation, double divisor);

/// The lag that a peak stands for: the upper half of the correlation holds the negative ones.
/// @param count  doubles of the correlation
long long LagOf(std::size_t position, std::size_t count);

}  // namespace orlo::sonrel::detail
