// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/ResamplerKernels.h"

#include <cstddef>

#include "sonrel/cpu/VectorLanes.h"

// The sums may be computed in any order and with fused operations: their distance from the
// formula's sums is covered by POLYNOMIAL_MARGIN and ROW_MARGIN, and it is the formula that decides
// wherever that distance could matter.
namespace orlo::sonrel::detail {
namespace {

static_assert(WEIGHT_DEGREE == 4, "the polynomial kernels are written out for this degree");

// ---- Before and after the sums, for any lanes --------------------------------------------------

// Adding and subtracting this rounds a double of moderate size to the nearest whole number.
constexpr double ROUNDER = 6755399441055744.0;  // 1.5 * 2^52

template <typename Lanes>
SONREL_ALWAYS_INLINE void PlaceTaps(double speed, int sourceOffset, TapBatch& batch) {
    using Doubles = typename Lanes::Doubles;
    using HalfInts = typename Lanes::HalfInts;
    using Longs = typename Lanes::Longs;
    constexpr int STEP = Lanes::DOUBLE_COUNT;
    Doubles frame;
    for (int lane = 0; lane < STEP; ++lane) frame[lane] = batch.first + lane;
    const Doubles last = Doubles{} + static_cast<double>(batch.first + batch.count - 1);
    for (int i = 0; i < batch.count; i += STEP) {
        frame = frame < last ? frame : last;  // lanes behind the last frame repeat it
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

template <typename Lanes>
SONREL_ALWAYS_INLINE void SplitChannels(const short* source, int count, int at, TapBatch& batch) {
    using Doubles = typename Lanes::Doubles;
    using HalfInts = typename Lanes::HalfInts;
    constexpr int STEP = Lanes::DOUBLE_COUNT;
    int i = 0;
    for (; i + STEP <= count; i += STEP) {
        HalfInts frames;
        Load(frames, source + 2 * static_cast<std::ptrdiff_t>(i));
        Store(batch.left + at + i, __builtin_convertvector((frames << 16) >> 16, Doubles));
        Store(batch.right + at + i, __builtin_convertvector(frames >> 16, Doubles));
    }
    for (; i < count; ++i) {
        batch.left[at + i] = source[2 * static_cast<std::ptrdiff_t>(i)];
        batch.right[at + i] = source[2 * static_cast<std::ptrdiff_t>(i) + 1];
    }
}

template <typename Lanes>
SONREL_ALWAYS_INLINE bool StoreSums(double margin, short* output, TapBatch& batch) {
    using Doubles = typename Lanes::Doubles;
    using HalfInts = typename Lanes::HalfInts;
    using Longs = typename Lanes::Longs;
    constexpr int STEP = Lanes::DOUBLE_COUNT;
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

// ---- Two lanes, on every processor -------------------------------------------------------------

using Pair = NarrowLanes::Doubles;
constexpr int PAIR_TAPS = (TAP_COUNT + 1) / 2 * 2;

inline Pair LoadPair(const double* from) {
    Pair pair;
    Load(pair, from);
    return pair;
}

void RowsBaseline(const ResamplerTables& tables, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const double* weights = tables.rows[batch.table[i]];
        const double* l = batch.left + batch.firstTap[i];
        const double* r = batch.right + batch.firstTap[i];
        Pair sumL{};
        Pair sumR{};
        for (int k = 0; k < PAIR_TAPS; k += 2) {
            const Pair w = LoadPair(weights + k);
            sumL += w * LoadPair(l + k);
            sumR += w * LoadPair(r + k);
        }
        batch.sums[2 * i] = sumL[0] + sumL[1];
        batch.sums[2 * i + 1] = sumR[0] + sumR[1];
    }
}

void PolynomialsBaseline(const ResamplerTables& tables, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const auto& c = tables.polynomials[batch.table[i]];
        const double* l = batch.left + batch.firstTap[i];
        const double* r = batch.right + batch.firstTap[i];
        const Pair t = {batch.t[i], batch.t[i]};
        Pair sumL{};
        Pair sumR{};
        for (int k = 0; k < PAIR_TAPS; k += 2) {
            Pair w = LoadPair(c[4] + k);
            w = w * t + LoadPair(c[3] + k);
            w = w * t + LoadPair(c[2] + k);
            w = w * t + LoadPair(c[1] + k);
            w = w * t + LoadPair(c[0] + k);
            sumL += w * LoadPair(l + k);
            sumR += w * LoadPair(r + k);
        }
        batch.sums[2 * i] = sumL[0] + sumL[1];
        batch.sums[2 * i + 1] = sumR[0] + sumR[1];
    }
}

void PlaceTapsBaseline(double speed, int sourceOffset, TapBatch& batch) {
    PlaceTaps<NarrowLanes>(speed, sourceOffset, batch);
}
void SplitChannelsBaseline(const short* source, int count, int at, TapBatch& batch) {
    SplitChannels<NarrowLanes>(source, count, at, batch);
}
bool StoreSumsBaseline(double margin, short* output, TapBatch& batch) {
    return StoreSums<NarrowLanes>(margin, output, batch);
}

constexpr ResamplerKernels BASELINE_KERNELS{PlaceTapsBaseline, SplitChannelsBaseline, RowsBaseline,
                                            PolynomialsBaseline, StoreSumsBaseline};

#if SONREL_X86

// ---- AVX2 and FMA ------------------------------------------------------------------------------

constexpr int QUAD_TAPS = (TAP_COUNT + 3) / 4 * 4;

SONREL_TARGET_AVX2 inline void FoldSums(__m256d sumL, __m256d sumR, double* sums) {
    const __m256d pairs = _mm256_hadd_pd(sumL, sumR);
    _mm_storeu_pd(sums, _mm_add_pd(_mm256_castpd256_pd128(pairs), _mm256_extractf128_pd(pairs, 1)));
}

SONREL_TARGET_AVX2 void RowsAvx2(const ResamplerTables& tables, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const double* weights = tables.rows[batch.table[i]];
        const double* l = batch.left + batch.firstTap[i];
        const double* r = batch.right + batch.firstTap[i];
        __m256d sumL = _mm256_setzero_pd();
        __m256d sumR = _mm256_setzero_pd();
        for (int k = 0; k < QUAD_TAPS; k += 4) {
            const __m256d w = _mm256_load_pd(weights + k);
            sumL = _mm256_fmadd_pd(w, _mm256_loadu_pd(l + k), sumL);
            sumR = _mm256_fmadd_pd(w, _mm256_loadu_pd(r + k), sumR);
        }
        FoldSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX2 void PolynomialsAvx2(const ResamplerTables& tables, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const auto& c = tables.polynomials[batch.table[i]];
        const double* l = batch.left + batch.firstTap[i];
        const double* r = batch.right + batch.firstTap[i];
        const __m256d t = _mm256_set1_pd(batch.t[i]);
        __m256d sumL = _mm256_setzero_pd();
        __m256d sumR = _mm256_setzero_pd();
        for (int k = 0; k < QUAD_TAPS; k += 4) {
            __m256d w = _mm256_load_pd(c[4] + k);
            w = _mm256_fmadd_pd(w, t, _mm256_load_pd(c[3] + k));
            w = _mm256_fmadd_pd(w, t, _mm256_load_pd(c[2] + k));
            w = _mm256_fmadd_pd(w, t, _mm256_load_pd(c[1] + k));
            w = _mm256_fmadd_pd(w, t, _mm256_load_pd(c[0] + k));
            sumL = _mm256_fmadd_pd(w, _mm256_loadu_pd(l + k), sumL);
            sumR = _mm256_fmadd_pd(w, _mm256_loadu_pd(r + k), sumR);
        }
        FoldSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX2 void PlaceTapsAvx2(double speed, int sourceOffset, TapBatch& batch) {
    PlaceTaps<WideLanes>(speed, sourceOffset, batch);
    SONREL_LEAVE_AVX();
}
SONREL_TARGET_AVX2 void SplitChannelsAvx2(const short* source, int count, int at, TapBatch& batch) {
    SplitChannels<WideLanes>(source, count, at, batch);
    SONREL_LEAVE_AVX();
}
SONREL_TARGET_AVX2 bool StoreSumsAvx2(double margin, short* output, TapBatch& batch) {
    const bool found = StoreSums<WideLanes>(margin, output, batch);
    SONREL_LEAVE_AVX();
    return found;
}

constexpr ResamplerKernels AVX2_KERNELS{PlaceTapsAvx2, SplitChannelsAvx2, RowsAvx2, PolynomialsAvx2,
                                        StoreSumsAvx2};

// ---- AVX-512 -----------------------------------------------------------------------------------

// The masked forms, since those without a mask make GCC 12 warn of values that are not set.
SONREL_TARGET_AVX512 inline __m256d FoldHalves(__m512d sum) {
    return _mm256_add_pd(_mm512_maskz_extractf64x4_pd(0xf, sum, 0),
                         _mm512_maskz_extractf64x4_pd(0xf, sum, 1));
}

SONREL_TARGET_AVX512 inline void FoldSums(__m512d sumL, __m512d sumR, double* sums) {
    const __m256d pairs = _mm256_hadd_pd(FoldHalves(sumL), FoldHalves(sumR));
    _mm_storeu_pd(sums, _mm_add_pd(_mm256_castpd256_pd128(pairs), _mm256_extractf128_pd(pairs, 1)));
}

SONREL_TARGET_AVX512 void RowsAvx512(const ResamplerTables& tables, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const double* weights = tables.rows[batch.table[i]];
        const double* l = batch.left + batch.firstTap[i];
        const double* r = batch.right + batch.firstTap[i];
        __m512d sumL = _mm512_setzero_pd();
        __m512d sumR = _mm512_setzero_pd();
        for (int k = 0; k < ROW_LENGTH; k += 8) {
            const __m512d w = _mm512_load_pd(weights + k);
            sumL = _mm512_fmadd_pd(w, _mm512_loadu_pd(l + k), sumL);
            sumR = _mm512_fmadd_pd(w, _mm512_loadu_pd(r + k), sumR);
        }
        FoldSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX512 void PolynomialsAvx512(const ResamplerTables& tables, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const auto& c = tables.polynomials[batch.table[i]];
        const double* l = batch.left + batch.firstTap[i];
        const double* r = batch.right + batch.firstTap[i];
        const __m512d t = _mm512_set1_pd(batch.t[i]);
        __m512d sumL = _mm512_setzero_pd();
        __m512d sumR = _mm512_setzero_pd();
        for (int k = 0; k < ROW_LENGTH; k += 8) {
            __m512d w = _mm512_load_pd(c[4] + k);
            w = _mm512_fmadd_pd(w, t, _mm512_load_pd(c[3] + k));
            w = _mm512_fmadd_pd(w, t, _mm512_load_pd(c[2] + k));
            w = _mm512_fmadd_pd(w, t, _mm512_load_pd(c[1] + k));
            w = _mm512_fmadd_pd(w, t, _mm512_load_pd(c[0] + k));
            sumL = _mm512_fmadd_pd(w, _mm512_loadu_pd(l + k), sumL);
            sumR = _mm512_fmadd_pd(w, _mm512_loadu_pd(r + k), sumR);
        }
        FoldSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

constexpr ResamplerKernels AVX512_KERNELS{PlaceTapsAvx2, SplitChannelsAvx2, RowsAvx512,
                                          PolynomialsAvx512, StoreSumsAvx2};

#endif

}  // namespace

const ResamplerKernels& KernelsOfPath(CpuPath path) {
#if SONREL_X86
    if (path == CpuPath::Avx512) return AVX512_KERNELS;
    if (path == CpuPath::Avx2) return AVX2_KERNELS;
#endif
    static_cast<void>(path);
    return BASELINE_KERNELS;
}

}  // namespace orlo::sonrel::detail
