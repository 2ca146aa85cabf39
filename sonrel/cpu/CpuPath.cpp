// SPDX-License-Identifier: MIT
#include "sonrel/cpu/CpuPath.h"

#include <atomic>

namespace orlo::sonrel::detail {
namespace {

std::atomic<CpuPath>& StoredPath() {
    static std::atomic<CpuPath> path{BestCpuPath()};
    return path;
}

}  // namespace

CpuPath BestCpuPath() {
#if SONREL_X86
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl")) {
        return CpuPath::Avx512;
    }
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return CpuPath::Avx2;
#endif
    return CpuPath::Baseline;
}

CpuPath ActiveCpuPath() {
    return StoredPath().load(std::memory_order_relaxed);
}

bool ForceCpuPath(std::optional<CpuPath> path) {
    const CpuPath wanted = path.value_or(BestCpuPath());
    if (wanted > BestCpuPath()) return false;
    StoredPath().store(wanted, std::memory_order_relaxed);
    return true;
}

}  // namespace orlo::sonrel::detail
