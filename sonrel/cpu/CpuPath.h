// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

/// Functions for a path above the baseline carry its target attribute and begin with an AvxScope.
#if defined(__x86_64__)
#include <immintrin.h>
#define SONREL_X86 1
#define SONREL_TARGET_AVX2 __attribute__((target("avx2,fma")))
#define SONREL_TARGET_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx2,fma")))
#else
#define SONREL_X86 0
#endif

namespace orlo::sonrel::detail {

/// The instruction sets that the arithmetic kernels are written for. All give the same bytes and
/// differ in time only.
enum class CpuPath {
    Baseline,  ///< what every processor of the architecture has (x86-64: SSE2)
    Avx2,      ///< AVX2 and FMA
    Avx512,    ///< AVX-512 F, DQ and VL
};

/// The best path that this processor and its operating system support.
CpuPath BestCpuPath();

/// The path that the kernels take: the best path, unless a path was forced.
CpuPath ActiveCpuPath();

/// Makes the kernels take @p path, for tests and benchmarks. An empty path returns to the best.
/// @return false, and no change, where the processor lacks it
bool ForceCpuPath(std::optional<CpuPath> path);

#if SONREL_X86
/// Clears the upper halves of the registers at the end of a function: baseline code runs many times
/// slower while they hold values. The compiler does so without this only at some levels of
/// optimisation.
struct AvxScope {
    SONREL_TARGET_AVX2 ~AvxScope() { _mm256_zeroupper(); }
};
#endif

}  // namespace orlo::sonrel::detail
