// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/CorrelationKernels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

// ---- Kernels -----------------------------------------------------------------------------------

struct MultiplyConjugateKernel {
    using Signature = void(const double* a, const double* b, std::size_t points, double* product);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const double* a, const double* b, std::size_t points,
                                         double* product) {
        using Doubles = typename L::Doubles;
        constexpr int WIDTH = L::DOUBLE_COUNT;
        constexpr auto LANES = LANE_NUMBERS<WIDTH>;
        std::size_t i = 0;
        for (; i + WIDTH <= points; i += WIDTH) {
            Doubles low, high, ar, ai, br, bi;
            Load(low, a + 2 * i);
            Load(high, a + 2 * i + WIDTH);
            SplitPairs(low, high, ar, ai, LANES);
            Load(low, b + 2 * i);
            Load(high, b + 2 * i + WIDTH);
            SplitPairs(low, high, br, bi, LANES);
            const Doubles re = ar * br + ai * bi;
            const Doubles im = -(ai * br - ar * bi);
            JoinPairs(re, im, low, high, LANES);
            Store(product + 2 * i, low);
            Store(product + 2 * i + WIDTH, high);
        }
        for (; i < points; ++i) {
            const double ar = a[2 * i];
            const double ai = a[2 * i + 1];
            const double br = b[2 * i];
            const double bi = b[2 * i + 1];
            product[2 * i] = ar * br + ai * bi;
            product[2 * i + 1] = -(ai * br - ar * bi);
        }
    }
};

/// A value that is not a number never replaces the largest.
struct MaxRealPartKernel {
    using Signature = double(const double* values, std::size_t count);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static double Run(const double* values, std::size_t count) {
        constexpr int WIDTH = L::DOUBLE_COUNT;
        typename L::Doubles largest[2] = {};
        std::size_t i = 0;
        for (; i + 2 * WIDTH <= count; i += 2 * WIDTH) {
#pragma GCC unroll 2
            for (std::size_t half = 0; half < 2; ++half) {
                typename L::Doubles size;
                Load(size, values + i + half * WIDTH);
                size = size < 0.0 ? -size : size;
                largest[half] = size > largest[half] ? size : largest[half];
            }
        }
        double found = 0.0;
        for (int lane = 0; lane < WIDTH; lane += 2) {
            found = largest[0][lane] > found ? largest[0][lane] : found;
            found = largest[1][lane] > found ? largest[1][lane] : found;
        }
        for (; i < count; i += 2) {
            const double size = std::fabs(values[i]);
            found = size > found ? size : found;
        }
        return found;
    }
};

constexpr auto MULTIPLY_CONJUGATE = KernelsOf<MultiplyConjugateKernel>();
constexpr auto MAX_REAL_PART = KernelsOf<MaxRealPartKernel>();

// ---- The peak ----------------------------------------------------------------------------------

constexpr std::size_t STRETCH = 4096;  // doubles in one search for the largest value

double ScaleAt(const Correlation& correlation, std::size_t position) {
    return position < correlation.scaled ? 1.0 : correlation.scale;
}

double QuotientAt(const Correlation& correlation, std::size_t position, double divisor) {
    const double value = correlation.values[position] * ScaleAt(correlation, position);
    return std::fabs(value / divisor);
}

/// The search with one division for each value: correct for every divisor.
Peak FindPeakOfQuotients(const Correlation& correlation, double divisor) {
    Peak peak;
    for (std::size_t i = 0; i < correlation.count; i += 2) {
        const double quotient = QuotientAt(correlation, i, divisor);
        if (quotient > peak.correlation) peak = {quotient, i};
    }
    return peak;
}

/// A stretch of a correlation that is scaled as a whole or not at all.
struct Stretch {
    std::size_t begin = 0;
    std::size_t end = 0;
    double largest = 0.0;  ///< scaled
};

std::vector<Stretch> StretchesOf(const Correlation& correlation) {
    const auto maxRealPart = MAX_REAL_PART.Active();
    // The first value after the scaled values may be an imaginary part.
    const std::size_t border = std::min(correlation.count, (correlation.scaled + 1) / 2 * 2);
    std::vector<Stretch> stretches;
    stretches.reserve(correlation.count / STRETCH + 2);
    for (std::size_t begin = 0; begin < correlation.count;) {
        const std::size_t limit = begin < border ? border : correlation.count;
        const std::size_t end = std::min(limit, begin + STRETCH);
        const double largest = maxRealPart(correlation.values + begin, end - begin);
        stretches.push_back({begin, end, largest * ScaleAt(correlation, begin)});
        begin = end;
    }
    return stretches;
}

}  // namespace

void MultiplyConjugate(const double* a, const double* b, std::size_t points, double* product) {
    MULTIPLY_CONJUGATE.Active()(a, b, points, product);
}

Peak FindPeak(const Correlation& correlation, double divisor) {
    // Division by a positive number keeps the order, so the largest quotient is that of the largest
    // value. Values nearly as large may round to the same quotient, and then the first of them is
    // the peak. At the ends of the range of doubles more values than those become equal.
    const std::vector<Stretch> stretches = StretchesOf(correlation);
    double largest = 0.0;
    for (const Stretch& stretch : stretches) largest = std::max(largest, stretch.largest);
    const double quotient = largest / divisor;
    const bool ordered = divisor > 0.0 && quotient > 1e-250 && quotient < 1e250 &&
                         largest > 1e-250 && largest < 1e250;
    if (!ordered) return FindPeakOfQuotients(correlation, divisor);
    const double nearly = largest * (1.0 - 1e-14);
    for (const Stretch& stretch : stretches) {
        if (stretch.largest < nearly) continue;
        for (std::size_t i = stretch.begin; i < stretch.end; i += 2) {
            if (QuotientAt(correlation, i, divisor) == quotient) return {quotient, i};
        }
    }
    return {};
}

long long LagOf(std::size_t position, std::size_t count) {
    if (position < count / 2) return static_cast<long long>(position / 2);
    return -static_cast<long long>((count - position) / 2);
}

}  // namespace orlo::sonrel::detail
