// SPDX-License-Identifier: MIT
// Compares the powers of level ramps with std::pow, bit by bit, on every path of this processor,
// and exits 1 at the first difference:
//   powers_proof [ramps of 2000 frames, in thousands; 250]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "sonrel/cpu/CpuPath.h"
#include "sonrel/mixer/detail/DecibelPowers.h"

namespace {

using orlo::sonrel::detail::CpuPath;

constexpr int FRAMES = 2000;

long long CompareRamp(float start, float slope, const std::vector<CpuPath>& paths) {
    std::vector<float> expected(FRAMES);
    for (int i = 0; i < FRAMES; ++i) {
        const float level = static_cast<float>(2 * i) * slope + start;
        expected[static_cast<std::size_t>(i)] = std::pow(10.0f, level / 20.0f);
    }
    long long differences = 0;
    std::vector<float> powers(FRAMES);
    for (const CpuPath path : paths) {
        orlo::sonrel::detail::ForceCpuPath(path);
        orlo::sonrel::detail::RampPowers(start, slope, 0, FRAMES, powers.data());
        for (std::size_t i = 0; i < powers.size(); ++i) {
            differences += std::memcmp(&powers[i], &expected[i], sizeof(float)) != 0;
        }
    }
    return differences;
}

}  // namespace

int main(int argc, char** argv) {
    const double thousands = argc > 1 ? std::atof(argv[1]) : 250.0;
    const auto ramps = static_cast<long long>(thousands * 1000.0);
    std::vector<CpuPath> paths;
    for (const CpuPath path : {CpuPath::Baseline, CpuPath::Avx2}) {
        if (path <= orlo::sonrel::detail::BestCpuPath()) paths.push_back(path);
    }
    // Most ramps are between -100 and 30 dB, some anywhere in the range of floats.
    std::mt19937 random(1);
    std::uniform_real_distribution<float> usual(-100.0f, 30.0f);
    std::uniform_real_distribution<float> wide(-740.0f, 740.0f);
    long long differences = 0;
    for (long long ramp = 0; ramp < ramps && differences == 0; ++ramp) {
        const bool isWide = ramp % 10 == 9;
        const float start = isWide ? wide(random) : usual(random);
        const float end = isWide ? wide(random) : usual(random);
        const float slope = (end - start) / static_cast<float>(FRAMES);
        differences += CompareRamp(start, slope, paths);
        if (differences > 0) std::printf("differs: start %.9g slope %.9g\n", start, slope);
    }
    std::printf("%.1f million powers on each of %zu paths, %lld differ\n",
                static_cast<double>(ramps) * FRAMES * 1e-6, paths.size(), differences);
    return differences == 0 ? 0 : 1;
}
