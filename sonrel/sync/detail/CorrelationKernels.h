// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

#include "sonrel/cpu/CpuPath.h"

namespace orlo::sonrel::detail {

/// The loops of a correlation over whole spectra, compiled for one path.
struct CorrelationKernels {
    /// Multiplies A with the conjugate of B, point by point, and conjugates the product, as an
    /// inverse transform begins.
    /// @param product  may be A or B
    void (*multiplyConjugate)(const double* a, const double* b, std::size_t points,
                              double* product);

    /// The largest absolute real part.
    /// @param count  doubles, real and imaginary parts in turn
    double (*largestRealPart)(const double* values, std::size_t count);
};

const CorrelationKernels& CorrelationKernelsOfPath(CpuPath path);

/// CorrelationKernels::multiplyConjugate on the active path.
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
