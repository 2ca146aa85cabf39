// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/ResamplerKernels.h"

#include <cstring>

// The sums may be computed in any order and with fused operations: their distance from the
// formula's sums is covered by POLYNOMIAL_MARGIN and ROW_MARGIN, and it is the formula that decides
// wherever that distance could matter.
namespace orlo::sonrel::detail {
namespace {

static_assert(WEIGHT_DEGREE == 4, "the polynomial kernels are written out for this degree");

// ---- Two lanes, on every processor -------------------------------------------------------------

using Pair = double __attribute__((vector_size(16)));
constexpr int PAIR_TAPS = (TAP_COUNT + 1) / 2 * 2;

inline Pair LoadPair(const double* from) {
    Pair pair;
    std::memcpy(&pair, from, sizeof pair);
    return pair;
}

void RowsBaseline(const ResamplerTables& tables, const double* left, const double* right,
                  TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const double* weights = tables.rows[batch.table[i]];
        const double* l = left + batch.firstTap[i];
        const double* r = right + batch.firstTap[i];
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

void PolynomialsBaseline(const ResamplerTables& tables, const double* left, const double* right,
                         TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const auto& c = tables.polynomials[batch.table[i]];
        const double* l = left + batch.firstTap[i];
        const double* r = right + batch.firstTap[i];
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

constexpr ResamplerKernels BASELINE_KERNELS{RowsBaseline, PolynomialsBaseline};

#if SONREL_X86

// ---- AVX2 and FMA ------------------------------------------------------------------------------

constexpr int QUAD_TAPS = (TAP_COUNT + 3) / 4 * 4;

SONREL_TARGET_AVX2 inline void StoreSums(__m256d sumL, __m256d sumR, double* sums) {
    const __m256d pairs = _mm256_hadd_pd(sumL, sumR);
    _mm_storeu_pd(sums, _mm_add_pd(_mm256_castpd256_pd128(pairs), _mm256_extractf128_pd(pairs, 1)));
}

SONREL_TARGET_AVX2 void RowsAvx2(const ResamplerTables& tables, const double* left,
                                 const double* right, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const double* weights = tables.rows[batch.table[i]];
        const double* l = left + batch.firstTap[i];
        const double* r = right + batch.firstTap[i];
        __m256d sumL = _mm256_setzero_pd();
        __m256d sumR = _mm256_setzero_pd();
        for (int k = 0; k < QUAD_TAPS; k += 4) {
            const __m256d w = _mm256_load_pd(weights + k);
            sumL = _mm256_fmadd_pd(w, _mm256_loadu_pd(l + k), sumL);
            sumR = _mm256_fmadd_pd(w, _mm256_loadu_pd(r + k), sumR);
        }
        StoreSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX2 void PolynomialsAvx2(const ResamplerTables& tables, const double* left,
                                        const double* right, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const auto& c = tables.polynomials[batch.table[i]];
        const double* l = left + batch.firstTap[i];
        const double* r = right + batch.firstTap[i];
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
        StoreSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

constexpr ResamplerKernels AVX2_KERNELS{RowsAvx2, PolynomialsAvx2};

// ---- AVX-512 -----------------------------------------------------------------------------------

// The masked forms, since those without a mask make GCC 12 warn of values that are not set.
SONREL_TARGET_AVX512 inline __m256d FoldHalves(__m512d sum) {
    return _mm256_add_pd(_mm512_maskz_extractf64x4_pd(0xf, sum, 0),
                         _mm512_maskz_extractf64x4_pd(0xf, sum, 1));
}

SONREL_TARGET_AVX512 inline void StoreSums(__m512d sumL, __m512d sumR, double* sums) {
    const __m256d pairs = _mm256_hadd_pd(FoldHalves(sumL), FoldHalves(sumR));
    _mm_storeu_pd(sums, _mm_add_pd(_mm256_castpd256_pd128(pairs), _mm256_extractf128_pd(pairs, 1)));
}

SONREL_TARGET_AVX512 void RowsAvx512(const ResamplerTables& tables, const double* left,
                                     const double* right, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const double* weights = tables.rows[batch.table[i]];
        const double* l = left + batch.firstTap[i];
        const double* r = right + batch.firstTap[i];
        __m512d sumL = _mm512_setzero_pd();
        __m512d sumR = _mm512_setzero_pd();
        for (int k = 0; k < ROW_LENGTH; k += 8) {
            const __m512d w = _mm512_load_pd(weights + k);
            sumL = _mm512_fmadd_pd(w, _mm512_loadu_pd(l + k), sumL);
            sumR = _mm512_fmadd_pd(w, _mm512_loadu_pd(r + k), sumR);
        }
        StoreSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX512 void PolynomialsAvx512(const ResamplerTables& tables, const double* left,
                                            const double* right, TapBatch& batch) {
    for (int i = 0; i < batch.count; ++i) {
        const auto& c = tables.polynomials[batch.table[i]];
        const double* l = left + batch.firstTap[i];
        const double* r = right + batch.firstTap[i];
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
        StoreSums(sumL, sumR, batch.sums + 2 * i);
    }
    SONREL_LEAVE_AVX();
}

constexpr ResamplerKernels AVX512_KERNELS{RowsAvx512, PolynomialsAvx512};

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
