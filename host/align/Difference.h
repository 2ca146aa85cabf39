// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <functional>
#include <limits>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::host {

/// The difference of two recordings: A minus B at an offset, left and right.
struct Difference {
    /// Highest amplitude of each part, full scale 1.0.
    std::vector<std::array<double, 2>> peaks;
    /// RMS compared with that of A, in decibels; infinite where one of them is 0.
    std::array<double, 2> decibels{};
};

/// Reads stereo frames of 16 bits; frames that cannot be read are 0.
using ReadFrames = std::function<void(long long start, int count, short* frames)>;

/// Measures the difference of two recordings.
/// @param bounds  frames of B in rising order: part p is from bounds[p] to bounds[p + 1]
/// @param offset  frame t of B matches frame t + offset of A
/// @throws CommandError when the program is asked to stop
Difference MeasureDifference(const ReadFrames& readA, const ReadFrames& readB, long long offset,
                             const std::vector<long long>& bounds);

}  // namespace orlo::host
