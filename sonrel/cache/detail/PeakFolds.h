// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "sonrel/cache/detail/BlockAnalysis.h"

/// Combines the blocks of a peak file into one point of a coarser view.
namespace orlo::sonrel::detail {

/// Minimum and maximum of each channel, both starting at 0: a block of the file always includes 0.
class PeakFold {
public:
    explicit PeakFold(int channels) : channels_(channels) {}

    /// The required bytes of a block: all of them.
    std::size_t BytesNeeded() const { return static_cast<std::size_t>(PeakBlockBytes(channels_)); }
    void Add(const unsigned char* blocks, int count);
    /// Appends minimum and maximum of each channel, and starts the next point.
    void EndPoint(std::vector<signed char>& points);

private:
    int channels_;
    std::array<signed char, MAX_PEAK_CHANNELS> low_{};
    std::array<signed char, MAX_PEAK_CHANNELS> high_{};
};

/// The root of the mean of (r / 255.0) squared, times 255.0, cut toward zero: three blocks of 19
/// result in 18. The sum is taken in double precision, one block after the other.
class RmsFold {
public:
    explicit RmsFold(int channels) : blockBytes_(PeakBlockBytes(channels)) {}

    /// The required bytes of a block: the first.
    std::size_t BytesNeeded() const { return 1; }
    void Add(const unsigned char* blocks, int count);
    /// Appends one byte, and starts the next point.
    void EndPoint(std::vector<unsigned char>& points);

private:
    int blockBytes_;
    double sum_ = 0.0;
    int count_ = 0;
};

}  // namespace orlo::sonrel::detail
