// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace orlo::sonrel::detail {

/// The twiddle factors of one level, in order: exp(-2 pi i k / size) for k from 0 up, each computed
/// from the previous factor. The rounding of the recurrence is part of every result, so a table of
/// sines cannot replace it.
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

/// Levels of butterflies that run with the bit reversal: transforms of 2, 4 and 8 points.
constexpr int BASE_LEVELS = 3;

/// Real and imaginary parts of the 2 factors of the 4-point level and the 4 of the 8-point level.
const double* BaseTwiddles();

/// The factors of the levels that one pass runs together, in the order of use. Level l completes
/// transforms of 2^l points.
///
/// A pass works on 2^levels legs of 2^(firstLevel - 1) points, @p width points of each leg at a
/// time. For each such step the table contains, level after level, the factors at these points of
/// the first leg, the second leg and so on up to half of the legs of a transform of that level;
/// each as @p width real parts, then @p width imaginary parts.
class PassTable {
public:
    /// @param width       2, 4 or 8
    /// @param firstLevel  above BASE_LEVELS
    /// @param levels      1 to 3
    PassTable(int width, int firstLevel, int levels);

    /// The first value, on a cache line.
    const double* Values() const { return begin_; }
    std::size_t Bytes() const { return values_.size() * sizeof(double); }

private:
    void FillLevel(int width, int firstLevel, int level, int levels);

    std::vector<double> values_;
    double* begin_;
};

/// The factors of all passes of one transform.
///
/// From its highest level down to the base levels, a transform runs as many levels in a pass as the
/// path allows, and the remainder in the lowest pass.
class TwiddleSet {
public:
    /// @param passLevels  levels in a pass at most, 1 to 3
    /// @param level       of the transform, which has 2^level points
    TwiddleSet(int width, int passLevels, int level);

    /// The table of the pass whose highest level is @p level.
    const double* Pass(int level) const {
        return passes_[static_cast<std::size_t>(level - BASE_LEVELS - 1)]->Values();
    }
    std::size_t Bytes() const;

private:
    std::vector<std::unique_ptr<const PassTable>> passes_;  // null where no pass ends
};

/// Bytes of factors that stay in memory while nothing uses them.
constexpr std::size_t MAX_KEPT_TWIDDLE_BYTES = 8'000'000;

/// The factors of a transform. All users of the same set share it. Sets without a user are kept up
/// to MAX_KEPT_TWIDDLE_BYTES in all, and the oldest are released first; a set that is larger is
/// released with its last user and made again on demand. Any thread.
/// @param width  2, 4 or 8, always with the same @p passLevels
std::shared_ptr<const TwiddleSet> Twiddles(int width, int passLevels, int level);

}  // namespace orlo::sonrel::detail
