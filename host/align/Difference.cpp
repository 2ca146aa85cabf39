// SPDX-License-Identifier: MIT
#include "host/align/Difference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "host/shell/Interrupt.h"

namespace orlo::host {

namespace {

constexpr int FRAMES_AT_ONCE = 65536;
constexpr double FULL_SCALE_16 = 32768.0;

using Frames = std::vector<short>;

/// Collects the difference of pieces that follow each other.
class DifferenceMeter {
public:
    explicit DifferenceMeter(const std::vector<long long>& bounds)
        : bounds_(bounds), peaks_(bounds.empty() ? 0 : bounds.size() - 1) {}

    /// @param start  of the piece in B
    void Add(long long start, int count, const Frames& a, const Frames& b) {
        for (int frame = 0; frame < count; ++frame) {
            while (start + frame >= bounds_[part_ + 1]) ++part_;
            for (std::size_t side = 0; side < 2; ++side) {
                const std::size_t at = 2 * static_cast<std::size_t>(frame) + side;
                AddValue(side, a[at] / FULL_SCALE_16, b[at] / FULL_SCALE_16);
            }
        }
    }

    Difference Result() const {
        Difference difference{peaks_, {}};
        for (std::size_t side = 0; side < 2; ++side) {
            difference.decibels[side] = 10.0 * std::log10(squares_[side] / squaresOfA_[side]);
        }
        return difference;
    }

private:
    void AddValue(std::size_t side, double a, double b) {
        const double value = a - b;
        double& peak = peaks_[part_][side];
        peak = std::max(peak, std::abs(value));
        squares_[side] += value * value;
        squaresOfA_[side] += a * a;
    }

    const std::vector<long long>& bounds_;
    std::size_t part_ = 0;
    std::vector<std::array<double, 2>> peaks_;
    std::array<double, 2> squares_{};
    std::array<double, 2> squaresOfA_{};
};

}  // namespace

Difference MeasureDifference(const ReadFrames& readA, const ReadFrames& readB, long long offset,
                             const std::vector<long long>& bounds) {
    DifferenceMeter meter(bounds);
    Frames a(2 * FRAMES_AT_ONCE);
    Frames b(2 * FRAMES_AT_ONCE);
    const long long end = bounds.empty() ? 0 : bounds.back();
    for (long long start = bounds.empty() ? 0 : bounds.front(); start < end;) {
        if (Interrupted()) ThrowInterrupted("the plot is not written");
        const int count = static_cast<int>(std::min<long long>(FRAMES_AT_ONCE, end - start));
        readA(start + offset, count, a.data());
        readB(start, count, b.data());
        meter.Add(start, count, a, b);
        start += count;
    }
    return meter.Result();
}

}  // namespace orlo::host
