// SPDX-License-Identifier: MIT
// The mixer's kernels, their reference implementations and other libraries:
//   kernel_bench [--benchmark_filter=REGEX]
#include "bench/KernelCases.h"
#include "bench/RatioBench.h"

int main(int argc, char** argv) {
    orlo::sonrel::bench::AddResamplerCases();
    orlo::sonrel::bench::AddConverterCases();
    orlo::sonrel::bench::AddMixCases();
    return orlo::sonrel::bench::RunAndReport(argc, argv);
}
