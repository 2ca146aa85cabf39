// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/ResamplerKernels.h"

#include <cstddef>

// The sums may be computed in any order and with fused operations: their distance from the
// formula's sums is covered by POLYNOMIAL_MARGIN and ROW_MARGIN, and the formula itself decides
// wherever that distance could change a sample. The positions are exact.
namespace orlo::sonrel::detail {
namespace {

static_assert(WEIGHT_DEGREE == 4, "the polynomial kernel is written out for this degree");

// Adding and subtracting this rounds a double of moderate size to the nearest whole number.
constexpr double ROUNDER = 6755399441055744.0;  // 1.5 * 2^52

struct PlaceTapsKernel {
    using Signature = void(double speed, int sourceOffset, TapBatch& batch);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(double speed, int sourceOffset, TapBatch& batch) {
        using Doubles = typename L::Doubles;
        using HalfInts = typename L::HalfInts;
        using Longs = typename L::Longs;
        constexpr int STEP = L::DOUBLE_COUNT;
        Doubles frame;
        for (int lane = 0; lane < STEP; ++lane) frame[lane] = batch.first + lane;
        const Doubles last = Doubles{} + static_cast<double>(batch.first + batch.count - 1);
        for (int i = 0; i < batch.count; i += STEP) {
            frame = frame < last ? frame : last;  // lanes after the last frame repeat it
            const Doubles position = frame * speed + static_cast<double>(sourceOffset);
            const HalfInts whole = __builtin_convertvector(position, HalfInts);
            const Doubles fraction = position - __builtin_convertvector(whole, Doubles);
            const HalfInts interval =
                __builtin_convertvector(fraction * static_cast<double>(INTERVAL_COUNT), HalfInts);
            const Doubles middle =
                (__builtin_convertvector(interval, Doubles) + 0.5) * (1.0 / INTERVAL_COUNT);
            const HalfInts lastTap =
                __builtin_convertvector(position + static_cast<double>(LAST_TAP), HalfInts);
            const Longs roundsUp = __builtin_convertvector(lastTap != whole + LAST_TAP, Longs);
            Store(batch.firstTap + i, whole + (FIRST_TAP - batch.firstSourceFrame));
            Store(batch.table + i, interval);
            Store(batch.t + i, fraction - middle);
            for (int lane = 0; lane < STEP; ++lane) {
                batch.undecided[2 * (i + lane)] = roundsUp[lane];
                batch.undecided[2 * (i + lane) + 1] = 0;
            }
            frame += static_cast<double>(STEP);
        }
    }
};

struct SplitChannelsKernel {
    using Signature = void(const short* source, int count, TapBatch& batch);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const short* source, int count, TapBatch& batch) {
        using Doubles = typename L::Doubles;
        constexpr int STEP = L::DOUBLE_COUNT;
        int i = 0;
        for (; i + STEP <= count; i += STEP) {
            typename L::HalfInts frames;
            Load(frames, source + 2 * static_cast<std::ptrdiff_t>(i));
            Store(batch.left + i, __builtin_convertvector((frames << 16) >> 16, Doubles));
            Store(batch.right + i, __builtin_convertvector(frames >> 16, Doubles));
        }
        for (; i < count; ++i) {
            batch.left[i] = source[2 * static_cast<std::ptrdiff_t>(i)];
            batch.right[i] = source[2 * static_cast<std::ptrdiff_t>(i) + 1];
        }
    }
};

// Adds the lanes of both channels: the halves of the vectors first, neighbours last.
template <typename L>
SONREL_ALWAYS_INLINE void FoldSums(const typename L::Doubles& left,
                                   const typename L::Doubles& right, double* sum) {
    if constexpr (L::DOUBLE_COUNT == 8) {
        using Half = Lanes<32>;
        const Half::Doubles halfLeft = __builtin_shufflevector(left, left, 0, 1, 2, 3) +
                                       __builtin_shufflevector(left, left, 4, 5, 6, 7);
        const Half::Doubles halfRight = __builtin_shufflevector(right, right, 0, 1, 2, 3) +
                                        __builtin_shufflevector(right, right, 4, 5, 6, 7);
        FoldSums<Half>(halfLeft, halfRight, sum);
    } else if constexpr (L::DOUBLE_COUNT == 4) {
        const typename L::Doubles pairs = __builtin_shufflevector(left, right, 0, 4, 2, 6) +
                                          __builtin_shufflevector(left, right, 1, 5, 3, 7);
        Store(sum, __builtin_shufflevector(pairs, pairs, 0, 1) +
                       __builtin_shufflevector(pairs, pairs, 2, 3));
    } else {
        sum[0] = left[0] + left[1];
        sum[1] = right[0] + right[1];
    }
}

// The weights of a table row.
template <typename L>
struct RowWeights {
    const ResamplerTables& tables;
    int row;

    RowWeights(const ResamplerTables& tablesOfRate, const TapBatch& batch, int frame)
        : tables(tablesOfRate), row(batch.table[frame]) {}

    SONREL_ALWAYS_INLINE void At(int tap, typename L::Doubles& weights) const {
        Load(weights, tables.rows[row] + tap);
    }
};

// The weights of the polynomials of an interval, by Horner's rule. The tables are indexed here and
// not by the constructor: the compiler then knows the alignment of the data that it loads.
template <typename L>
struct PolynomialWeights {
    using Doubles = typename L::Doubles;
    const ResamplerTables& tables;
    int interval;
    double t;

    PolynomialWeights(const ResamplerTables& tablesOfRate, const TapBatch& batch, int frame)
        : tables(tablesOfRate), interval(batch.table[frame]), t(batch.t[frame]) {}

    SONREL_ALWAYS_INLINE void At(int tap, Doubles& weights) const {
        const auto& factors = tables.polynomials[interval];
        Doubles fraction;
        Spread(t, fraction);
        Doubles sums[WEIGHT_DEGREE + 1];
#pragma GCC unroll 5
        for (int power = 0; power <= WEIGHT_DEGREE; ++power) {
            Load(sums[power], factors[power] + tap);
        }
#pragma GCC unroll 4
        for (int power = WEIGHT_DEGREE; power > 0; --power) {
            AddProduct<L>(sums[power], fraction, sums[power - 1]);
        }
        weights = sums[0];
    }
};

template <template <typename> typename Weights>
struct SumKernel {
    using Signature = void(const ResamplerTables& tables, TapBatch& batch);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const ResamplerTables& tables, TapBatch& batch) {
        using Doubles = typename L::Doubles;
        constexpr int STEP = L::DOUBLE_COUNT;
        constexpr int TAPS = (TAP_COUNT + STEP - 1) / STEP * STEP;
        const int count = batch.count;
        for (int i = 0; i < count; ++i) {
            const Weights<L> weights(tables, batch, i);
            const double* left = batch.left + batch.firstTap[i];
            const double* right = batch.right + batch.firstTap[i];
            Doubles leftSum{};
            Doubles rightSum{};
            for (int tap = 0; tap < TAPS; tap += STEP) {
                Doubles weight;
                Doubles values;
                weights.At(tap, weight);
                Load(values, left + tap);
                AddProduct<L>(weight, values, leftSum);
                Load(values, right + tap);
                AddProduct<L>(weight, values, rightSum);
            }
            FoldSums<L>(leftSum, rightSum, batch.sums + 2 * i);
        }
    }
};

struct StoreSumsKernel {
    using Signature = bool(double margin, short* output, TapBatch& batch);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static bool Run(double margin, short* output, TapBatch& batch) {
        using Doubles = typename L::Doubles;
        using HalfInts = typename L::HalfInts;
        using Longs = typename L::Longs;
        constexpr int STEP = L::DOUBLE_COUNT;
        const int count = 2 * batch.count;
        Longs any{};
        for (int i = 0; i < count; i += STEP) {
            Doubles sum;
            Longs undecided;
            Load(sum, batch.sums + i);
            Load(undecided, batch.undecided + i);
            const Doubles nearest = (sum + ROUNDER) - ROUNDER;
            const Doubles distance = sum - nearest;
            undecided |= (distance < margin) & (distance > -margin) & (nearest != 0.0);
            Store(batch.undecided + i, undecided);
            any |= undecided;
            // The low 16 bits of each sum.
            const HalfInts cut = __builtin_convertvector(sum, HalfInts);
            for (int lane = 0; lane < STEP && i + lane < count; ++lane) {
                output[i + lane] = static_cast<short>(cut[lane]);
            }
        }
        bool found = false;
        for (int lane = 0; lane < STEP; ++lane) found |= any[lane] != 0;
        return found;
    }
};

constexpr ResamplerKernels KernelsOn(CpuPath path) {
    return {KernelsOf<PlaceTapsKernel>().On(path), KernelsOf<SplitChannelsKernel>().On(path),
            KernelsOf<SumKernel<RowWeights>>().On(path),
            KernelsOf<SumKernel<PolynomialWeights>>().On(path),
            KernelsOf<StoreSumsKernel>().On(path)};
}

}  // namespace

constinit const PerCpuPath<ResamplerKernels> RESAMPLER_KERNELS = ForEveryPath(KernelsOn);

}  // namespace orlo::sonrel::detail
