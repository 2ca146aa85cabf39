// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace orlo::sonrel::detail {

/// The twiddle factors of one level, in order: exp(-2 pi i k / size) for k from 0 up, each computed
/// from the one before. The rounding of the recurrence is part of every result, so no table of
/// sines can take its place.
class TwiddleRecurrence {
public:
    /// @param size  points of the transforms that the level completes
    explicit TwiddleRecurrence(unsigned int size);

    double Re() const { return re_; }
    double Im() const { return im_; }
    void Advance() {
        const double re = re_;
        re_ = re_ - (re_ * c1_ - im_ * c2_);
        im_ = im_ - (re * c2_ + im_ * c1_);
    }

private:
    double c1_;
    double c2_;
    double re_ = 1.0;
    double im_ = 0.0;
};

/// Levels of butterflies that the first pass over the data runs: transforms of 2, 4 and 8 points.
constexpr int BASE_LEVELS = 3;

/// Real and imaginary part of the factors of the 4-point level (2) and of the 8-point level (4).
const double* BaseTwiddles();

/// The factors of @p levels levels that one pass runs together, in the order in which it needs
/// them. Level l completes transforms of 2^l points.
///
/// A pass works on 2^levels legs of 2^(firstLevel - 1) points, @p width points of each leg at a
/// time. For each such step the table holds, level after level, the factors at those points of the
/// first leg, the second and so on up to half the legs of that level's transforms; each as @p width
/// real parts, then @p width imaginary parts.
///
/// Made at the first call, then kept for the life of the process. Any thread.
/// @param width       2, 4 or 8
/// @param firstLevel  above BASE_LEVELS
/// @param levels      1 to 3
const double* PassTwiddles(int width, int firstLevel, int levels);

}  // namespace orlo::sonrel::detail
