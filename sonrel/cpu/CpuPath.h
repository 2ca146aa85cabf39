// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

/// Functions for one of the wider paths carry its target attribute and end with SONREL_LEAVE_AVX(),
/// which clears the upper halves of the registers: code of the baseline runs many times slower
/// while they hold something. The compiler does that by itself at some levels of optimisation only.
#if defined(__x86_64__)
#include <immintrin.h>
#define SONREL_X86 1
#define SONREL_LEAVE_AVX() _mm256_zeroupper()
#define SONREL_TARGET_AVX2 __attribute__((target("avx2,fma")))
#define SONREL_TARGET_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx2,fma")))
#else
#define SONREL_X86 0
#endif

namespace orlo::sonrel::detail {

/// The instruction sets that the arithmetic kernels are written for. Every one gives the same
/// bytes; they differ in time only.
enum class CpuPath {
    Baseline,  ///< what every processor of the architecture has (x86-64: SSE2)
    Avx2,      ///< AVX2 and FMA
    Avx512,    ///< AVX-512 F, DQ and VL
};

/// The best path that this processor and its operating system support.
CpuPath BestCpuPath();

/// The path that the kernels take: the best one, unless a path was forced.
CpuPath ActiveCpuPath();

/// Makes the kernels take @p path, for tests and benchmarks; nothing returns to the best one.
/// @return false, and no change, where the processor lacks it
bool ForceCpuPath(std::optional<CpuPath> path);

}  // namespace orlo::sonrel::detail
