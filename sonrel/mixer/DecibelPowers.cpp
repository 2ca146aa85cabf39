// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/DecibelPowers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "sonrel/cpu/Kernels.h"

// A level ramp needs the factor powf(10, level / 20) for every frame, with the exact bits of the C
// library. A call per frame would take longer than the rest of the mix. This file computes the
// factors of a ramp in double precision, a vector at a time, and proves for each whether the result
// is the library's.
//
// - A ramp is a straight line in dB, so its factors are a geometric sequence: one multiplication
//   per vector. The exponents are rounded to single precision, as the definition demands; the
//   rounding error e of each is known and multiplies the factor by 1 + e ln(10).
// - The library's result is the true power with a small error, rounded to a float. Our double has a
//   small error too. Both bounds together are the relative error of BASE_ERROR and ERROR_PER_UNIT.
// - The double is rounded to a float twice: decreased and increased by that error. Where both give
//   the same float, the library returns it as well. Elsewhere the library is called: for about
//   one factor in 300 near 0 dB, and one in 15 near 100 dB.
//
// Levels beyond MAX_LEVEL, NaN and infinity call the library for every frame. powers_proof
// compares hundreds of millions of factors with the library.
namespace orlo::sonrel::detail {
namespace {

constexpr double LN_10 = 2.302585092994046;
constexpr double LOG2_OF_10 = 3.321928094887362;

// Powers of levels up to this size, in dB, are normal floats and keep the series below short.
constexpr float MAX_LEVEL = 200.0f;

// Relative error of a power before it is rounded to single precision, for exponents of 2 up to z in
// size: BASE_ERROR + z * ERROR_PER_UNIT. It covers our error and the C library's.
//
// Ours: an exponent of up to 10 that was rounded to single precision, from levels that were rounded
// too, is within 2.4e-6 of its line, and the series ends before (2.4e-6 ln 10)^2 / 2 = 1.6e-11;
// all other errors stay below 1e-12. glibc's powf takes the logarithm with a relative error below
// 1.83 * 2^-33, which z ln(2) multiplies (1.48e-10 a unit), and the exponential with one below
// 1.69 * 2^-34 (9.9e-11).
constexpr double BASE_ERROR = 1.3e-10;
constexpr double ERROR_PER_UNIT = 1.6e-10;

// A ramp and the definition of its factors.
struct Ramp {
    float start;
    float slope;

    float Level(int frame) const { return static_cast<float>(2 * frame) * slope + start; }
    float Power(int frame) const { return PowerOfLevel(Level(frame)); }
};

// Frames of a ramp that are computed together, a multiple of POWERS_ALIGNMENT.
constexpr int CHUNK = 512;

// The exponents of 10 on the straight line of a ramp, and the error of the powers.
struct PowerLine {
    double first;
    double step;
    double error;
};

// Single-precision powers of ten from both ends of the error: where they are equal, the power is
// certain.
//
// The exponents of a ramp are on a straight line, except for their rounding to single precision. On
// the line the powers are a geometric sequence; the rounding, a small distance e, multiplies each
// by 10^e = 1 + e ln(10).
template <typename L>
SONREL_ALWAYS_INLINE void PowersOnLine(const PowerLine& at, const float* exponents, int count,
                                       float* below, float* above) {
    using Doubles = typename L::Doubles;
    using HalfFloats = typename L::HalfFloats;
    constexpr int STEP = L::DOUBLE_COUNT;

    const double ratio = std::pow(10.0, at.step);
    Doubles line;
    Doubles onLine;
    line[0] = at.first;
    onLine[0] = std::pow(10.0, at.first);
    for (int lane = 1; lane < STEP; ++lane) {
        line[lane] = at.first + lane * at.step;
        onLine[lane] = onLine[lane - 1] * ratio;
    }
    double ratioOfVector = ratio * ratio;
    if (STEP == 4) ratioOfVector *= ratioOfVector;

    const double step = at.step;
    const double error = at.error;
    for (int i = 0; i < count; i += STEP) {
        HalfFloats exponent;
        Load(exponent, exponents + i);
        const Doubles e = __builtin_convertvector(exponent, Doubles) - line;
        const Doubles power = onLine * (e * LN_10 + 1.0);
        Store(below + i, __builtin_convertvector(power * (1.0 - error), HalfFloats));
        Store(above + i, __builtin_convertvector(power * (1.0 + error), HalfFloats));
        line += step * STEP;
        onLine *= ratioOfVector;
    }
}

[[gnu::noinline]] void DecideByLibrary(const Ramp& ramp, int firstFrame, int count, float* powers,
                                       const float* above) {
    for (int i = 0; i < count; ++i) {
        if (powers[i] != above[i]) powers[i] = ramp.Power(firstFrame + i);
    }
}

// Replaces the powers that are not certain.
template <typename L>
SONREL_ALWAYS_INLINE void DecideUncertain(const Ramp& ramp, int firstFrame, int count,
                                          float* powers, const float* above) {
    for (int i = 0; i < count; i += L::COUNT) {
        typename L::Floats low;
        typename L::Floats high;
        Load(low, powers + i);
        Load(high, above + i);
        std::int64_t differing[L::COUNT / 2];
        Store(differing, low != high);
        std::int64_t any = 0;
        for (const std::int64_t bits : differing) any |= bits;
        if (any != 0) [[unlikely]] {
            DecideByLibrary(ramp, firstFrame + i, L::COUNT, powers + i, above + i);
        }
    }
}

template <typename L>
SONREL_ALWAYS_INLINE void ExponentsOfRamp(const Ramp& ramp, int firstFrame, int count,
                                          float* exponents) {
    static_assert(POWERS_ALIGNMENT % L::COUNT == 0);
    typename L::Ints counter;
    for (int lane = 0; lane < L::COUNT; ++lane) counter[lane] = 2 * (firstFrame + lane);
    for (int i = 0; i < count; i += L::COUNT) {
        const typename L::Floats level =
            __builtin_convertvector(counter, typename L::Floats) * ramp.slope + ramp.start;
        Store(exponents + i, level / 20.0f);
        counter += 2 * L::COUNT;
    }
}

struct PowersOfChunkKernel {
    using Signature = void(const Ramp& ramp, double error, int firstFrame, int count,
                           float* powers);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const Ramp& ramp, double error, int firstFrame, int count,
                                         float* powers) {
        alignas(32) float exponents[CHUNK];
        alignas(32) float above[CHUNK];
        ExponentsOfRamp<L>(ramp, firstFrame, count, exponents);
        const double step = 2.0 * static_cast<double>(ramp.slope) / 20.0;
        const double first = static_cast<double>(ramp.start) / 20.0 + firstFrame * step;
        count = (count + L::COUNT - 1) / L::COUNT * L::COUNT;  // whole vectors
        PowersOnLine<L>({first, step, error}, exponents, count, powers, above);
        DecideUncertain<L>(ramp, firstFrame, count, powers, above);
    }
};

constexpr auto POWERS_OF_CHUNK = KernelsOf<PowersOfChunkKernel>();

bool InRange(float level) {
    return std::fabs(level) <= MAX_LEVEL;
}

}  // namespace

float PowerOfLevel(float level) {
    return std::pow(10.0f, level / 20.0f);
}

void RampPowers(float start, float slope, int firstFrame, int count, float* powers) {
    const Ramp ramp{start, slope};
    const float firstLevel = ramp.Level(firstFrame);
    const float lastLevel = ramp.Level(firstFrame + count - 1);
    if (!InRange(start) || !InRange(firstLevel) || !InRange(lastLevel)) {
        for (int i = 0; i < count; ++i) powers[i] = ramp.Power(firstFrame + i);
        return;
    }
    const double largest = std::max(std::fabs(firstLevel), std::fabs(lastLevel));
    const double error = BASE_ERROR + largest / 20.0 * LOG2_OF_10 * ERROR_PER_UNIT;
    const auto powersOfChunk = POWERS_OF_CHUNK.Active();
    for (int done = 0; done < count; done += CHUNK) {
        const int length = std::min(CHUNK, count - done);
        powersOfChunk(ramp, error, firstFrame + done, length, powers + done);
    }
}

}  // namespace orlo::sonrel::detail
