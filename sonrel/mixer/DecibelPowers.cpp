// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/DecibelPowers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "sonrel/mixer/detail/CpuPath.h"
#include "sonrel/mixer/detail/VectorLanes.h"

namespace orlo::sonrel::detail {
namespace {

constexpr double LN_10 = 2.302585092994046;
constexpr double LOG2_OF_10 = 3.321928094887362;

// Levels up to this size, in dB, give normal floats and keep the series below short.
constexpr float LARGEST_LEVEL = 740.0f;

// Relative error of a power before it is rounded to single precision, for exponents of 2 up to z in
// size: BASE_ERROR + z * ERROR_PER_UNIT. It covers our error and the C library's.
//
// Ours stays below 1e-12. glibc's powf takes the logarithm with a relative error below
// 1.83 * 2^-33, which z ln(2) multiplies (1.48e-10 a unit), and the exponential with one below
// 1.69 * 2^-34 (9.9e-11).
constexpr double BASE_ERROR = 1.1e-10;
constexpr double ERROR_PER_UNIT = 1.6e-10;

void ByLibrary(float* exponents, int count) {
    for (int i = 0; i < count; ++i) exponents[i] = std::pow(10.0f, exponents[i]);
}

// Calls the library for the lanes that are not certain (0 there, -1 elsewhere).
template <int LANES>
[[gnu::noinline]] void DecideByLibrary(const float* exponents, const std::int32_t* certain,
                                       float* powers) {
    for (int lane = 0; lane < LANES; ++lane) {
        if (certain[lane] == 0) powers[lane] = std::pow(10.0f, exponents[lane]);
    }
}

// The single-precision exponents of 10 of a ramp.
template <typename Lanes>
SONREL_ALWAYS_INLINE void RampExponents(float start, float slope, int firstFrame, int count,
                                        float* exponents) {
    using Floats = typename Lanes::Floats;
    static_assert(POWERS_ALIGNMENT % Lanes::COUNT == 0);
    typename Lanes::Ints counter;
    for (int lane = 0; lane < Lanes::COUNT; ++lane) counter[lane] = 2 * (firstFrame + lane);
    for (int i = 0; i < count; i += Lanes::COUNT) {
        const Floats level = __builtin_convertvector(counter, Floats) * slope + start;
        Store(exponents + i, level / 20.0f);
        counter += 2 * Lanes::COUNT;
    }
}

// Replaces the exponents of a ramp by the powers.
//
// The exponents lie on a straight line, but for their rounding to single precision. On the line the
// power is a geometric sequence; the rounding, a distance e of less than 1e-5, multiplies it by
// 10^e, for which three terms of the series are enough.
template <typename Lanes>
SONREL_ALWAYS_INLINE void ExponentsToPowers(double lineStart, double lineStep, int count,
                                            float* values) {
    using Doubles = typename Lanes::Doubles;
    using HalfFloats = typename Lanes::HalfFloats;
    using HalfInts = typename Lanes::HalfInts;
    constexpr int STEP = Lanes::DOUBLE_COUNT;

    const double lineEnd = lineStart + lineStep * count;
    const double size = std::max(std::fabs(lineStart), std::fabs(lineEnd)) * LOG2_OF_10;
    const double error = BASE_ERROR + size * ERROR_PER_UNIT;

    const double ratio = std::pow(10.0, lineStep);
    Doubles line;
    Doubles onLine;
    line[0] = lineStart;
    onLine[0] = std::pow(10.0, lineStart);
    for (int lane = 1; lane < STEP; ++lane) {
        line[lane] = lineStart + lane * lineStep;
        onLine[lane] = onLine[lane - 1] * ratio;
    }
    double ratioOfStep = ratio * ratio;
    if (STEP == 4) ratioOfStep *= ratioOfStep;

    for (int i = 0; i < count; i += STEP) {
        HalfFloats exponent;
        Load(exponent, values + i);
        const Doubles u = (__builtin_convertvector(exponent, Doubles) - line) * LN_10;
        const Doubles power = onLine * ((u * 0.5 + 1.0) * u + 1.0);
        line += lineStep * STEP;
        onLine *= ratioOfStep;

        const HalfFloats below = __builtin_convertvector(power * (1.0 - error), HalfFloats);
        const HalfFloats above = __builtin_convertvector(power * (1.0 + error), HalfFloats);
        const HalfInts certain = below == above;
        Store(values + i, below);
        std::int64_t certainBits[STEP / 2];
        Store(certainBits, certain);
        std::int64_t all = -1;
        for (const std::int64_t bits : certainBits) all &= bits;
        if (all != -1) [[unlikely]] {
            float exponents[STEP];
            std::int32_t certainLanes[STEP];
            Store(exponents, exponent);
            Store(certainLanes, certain);
            DecideByLibrary<STEP>(exponents, certainLanes, values + i);
        }
    }
}

template <typename Lanes>
SONREL_ALWAYS_INLINE void RampPowersOfLanes(float start, float slope, int firstFrame, int count,
                                            float* powers) {
    RampExponents<Lanes>(start, slope, firstFrame, count, powers);
    const auto inRange = [](float level) { return std::fabs(level) <= LARGEST_LEVEL; };
    if (!inRange(start) || !inRange(20.0f * powers[0]) || !inRange(20.0f * powers[count - 1])) {
        ByLibrary(powers, count);
        return;
    }
    const double lineStep = 2.0 * static_cast<double>(slope) / 20.0;
    const double lineStart = static_cast<double>(start) / 20.0 + firstFrame * lineStep;
    ExponentsToPowers<Lanes>(lineStart, lineStep, count, powers);
}

void RampPowersBaseline(float start, float slope, int firstFrame, int count, float* powers) {
    RampPowersOfLanes<NarrowLanes>(start, slope, firstFrame, count, powers);
}

#if SONREL_X86
SONREL_TARGET_AVX2 void RampPowersAvx2(float start, float slope, int firstFrame, int count,
                                       float* powers) {
    RampPowersOfLanes<WideLanes>(start, slope, firstFrame, count, powers);
    SONREL_LEAVE_AVX();
}
#endif

}  // namespace

float PowerOfLevel(float level) {
    return std::pow(10.0f, level / 20.0f);
}

void RampPowers(float start, float slope, int firstFrame, int count, float* powers) {
#if SONREL_X86
    if (ActiveCpuPath() >= CpuPath::Avx2) {
        RampPowersAvx2(start, slope, firstFrame, count, powers);
        return;
    }
#endif
    RampPowersBaseline(start, slope, firstFrame, count, powers);
}

}  // namespace orlo::sonrel::detail
