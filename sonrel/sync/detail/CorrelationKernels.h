// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

namespace orlo::sonrel::detail {

/// Multiplies A with the conjugate of B, point by point, and conjugates the product, as an inverse
/// transform begins.
/// @param product  may be A or B
void MultiplyConjugate(const double* a, const double* b, std::size_t points, double* product);

/// The largest quotient of a correlation and its position.
struct Peak {
    double correlation = 0.0;  ///< without sign
    std::size_t position = 0;  ///< in doubles
};

/// A correlation whose first values are scaled already, and the others are not.
struct Correlation {
    const double* values = nullptr;  ///< interleaved real and imaginary parts
    std::size_t count = 0;           ///< doubles, even
    std::size_t scaled = 0;          ///< doubles at the beginning that are scaled already
    double scale = 1.0;              ///< the factor of the other values: a power of two
};

/// Finds the peak among the real parts divided by @p divisor: the largest absolute value, the first
/// of equal values. Quotients that are not a number are ignored. Without another quotient the
/// result is 0.0 at 0.
Peak FindPeak(const Correlation& correlation, double divisor);

/// The lag of a peak: the upper half of the correlation has the negative lags.
/// @param count  doubles of the correlation
long long LagOf(std::size_t position, std::size_t count);

}  // namespace orlo::sonrel::detail
