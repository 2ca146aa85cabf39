// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/cpu/CpuPath.h"
#include "sonrel/cpu/VectorLanes.h"

/// The one method by which arithmetic chooses its instruction set.
///
/// A kernel is a struct with its signature, the widest path that it is worth compiling for, and
/// its body as a template over the lanes:
///
///     struct ScaleKernel {
///         using Signature = void(float* values, int count, float gain);
///         static constexpr CpuPath WIDEST = CpuPath::Avx2;
///         template <typename L>
///         SONREL_ALWAYS_INLINE static void Run(float* values, int count, float gain);
///     };
///     constexpr auto SCALE = KernelsOf<ScaleKernel>();
///     ...
///     SCALE.Active()(values, count, 0.5f);
namespace orlo::sonrel::detail {

/// One value for each path, such as a function compiled for it.
template <typename T>
struct PerCpuPath {
    T baseline;
    T avx2;
    T avx512;

    constexpr const T& On(CpuPath path) const {
        if (path == CpuPath::Avx512) return avx512;
        return path == CpuPath::Avx2 ? avx2 : baseline;
    }
    const T& Active() const { return On(ActiveCpuPath()); }
};

/// Builds a set of values from one value for each path.
template <typename T>
constexpr PerCpuPath<T> ForEveryPath(T (*on)(CpuPath)) {
    return {on(CpuPath::Baseline), on(CpuPath::Avx2), on(CpuPath::Avx512)};
}

/// The functions of a kernel. On processors other than x86-64 only the baseline exists.
template <typename Kernel, typename Signature = typename Kernel::Signature>
struct CompiledKernel;

template <typename Kernel, typename Result, typename... Arguments>
struct CompiledKernel<Kernel, Result(Arguments...)> {
    static Result Baseline(Arguments... arguments) {
        return Kernel::template Run<Lanes<16>>(arguments...);
    }
#if SONREL_X86
    SONREL_TARGET_AVX2 static Result Avx2(Arguments... arguments) {
        const AvxScope scope;
        return Kernel::template Run<Lanes<32>>(arguments...);
    }
    SONREL_TARGET_AVX512 static Result Avx512(Arguments... arguments) {
        const AvxScope scope;
        return Kernel::template Run<Lanes<64>>(arguments...);
    }
#endif
};

/// Compiles a kernel for every path up to its widest. A wider path takes the widest function.
template <typename Kernel>
constexpr auto KernelsOf() {
    using Compiled = CompiledKernel<Kernel>;
    using Function = decltype(&Compiled::Baseline);
    PerCpuPath<Function> functions{Compiled::Baseline, Compiled::Baseline, Compiled::Baseline};
#if SONREL_X86
    functions.avx2 = Compiled::Avx2;
    functions.avx512 = Compiled::Avx2;
    if constexpr (Kernel::WIDEST == CpuPath::Avx512) functions.avx512 = Compiled::Avx512;
#endif
    return functions;
}

}  // namespace orlo::sonrel::detail
