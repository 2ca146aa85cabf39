// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/KWeighting.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>

#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr double FULL_SCALE = 32768.0;

/// The analogue filters whose bilinear transforms at 48000 Hz are the sections of the standard.
constexpr double SHELF_HERTZ = 1681.974450955533;
constexpr double SHELF_DECIBELS = 3.999843853973347;
constexpr double SHELF_Q = 0.7071752369554196;
constexpr double SHELF_BAND_POWER = 0.4996667741545416;
constexpr double HIGH_PASS_HERTZ = 38.13547087602444;
constexpr double HIGH_PASS_Q = 0.5003270373238773;

double WarpedFrequency(double hertz, int rate) {
    return std::tan(std::numbers::pi * hertz / rate);
}

// ---- The kernel --------------------------------------------------------------------------------

/// Both channels and both sections in one vector, on every path: the sections form a pipeline, in
/// which the high-pass takes the pair of frames that the shelf has finished in the step before.
using Quad = Lanes<32>::Doubles;

/// A state of less than this, in 16-bit steps, becomes 0 at the end of a call. Silence would
/// otherwise end in denormal numbers, which are slow.
constexpr double MIN_STATE = 1e-20;

struct Pair {
    Quad first;
    Quad second;
};

struct LaneConstants {
    Quad c1, betweenU, betweenV, nextU, nextUFirst, nextV, nextVFirst, nextVSecond;

    SONREL_ALWAYS_INLINE explicit LaneConstants(const KWeightingLanes& lanes) {
        Load(c1, lanes.c1);
        Load(betweenU, lanes.betweenU);
        Load(betweenV, lanes.betweenV);
        Load(nextU, lanes.nextU);
        Load(nextUFirst, lanes.nextUFirst);
        Load(nextV, lanes.nextV);
        Load(nextVFirst, lanes.nextVFirst);
        Load(nextVSecond, lanes.nextVSecond);
    }
};

struct LaneState {
    Quad u;
    Quad v;
};

/// Two frames at once: the state after both is computed from the state before both, so that the
/// next pair does not wait for each frame of this pair.
SONREL_ALWAYS_INLINE void FilterPair(const LaneConstants& k, const Pair& in, LaneState& state,
                                     Pair& out) {
    const Quad between = (k.c1 * in.first + k.betweenV * state.v) + k.betweenU * state.u;
    out.first = in.first + state.u;
    out.second = in.second + between;
    const Quad u = ((k.nextUFirst * in.first + k.c1 * in.second) + state.v) + k.nextU * state.u;
    state.v = (k.nextVFirst * in.first + k.nextVSecond * in.second) + k.nextV * state.u;
    state.u = u;
}

/// One frame.
SONREL_ALWAYS_INLINE void FilterFrame(const KWeightingLanes& lanes, const Quad& in,
                                      LaneState& state, Quad& out) {
    const LaneConstants k(lanes);
    Quad a1;
    Quad a2;
    Quad c2;
    Load(a1, lanes.a1);
    Load(a2, lanes.a2);
    Load(c2, lanes.c2);
    out = in + state.u;
    const Quad u = (k.c1 * in + k.betweenV * state.v) + k.betweenU * state.u;
    state.v = a2 * u - a1 * (c2 * in - a2 * state.u);
    state.u = u;
}

/// Takes the lanes of the shelf from one state and the lanes of the high-pass from another.
SONREL_ALWAYS_INLINE void Merge(const LaneState& shelf, const LaneState& highPass,
                                LaneState& state) {
    state.u = __builtin_shufflevector(shelf.u, highPass.u, 0, 1, 6, 7);
    state.v = __builtin_shufflevector(shelf.v, highPass.v, 0, 1, 6, 7);
}

typedef std::int32_t FourInts __attribute__((vector_size(16)));

#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wpsabi"  // the built-in function returns a vector
#endif

/// GCC 12 converts the halves of a vector separately.
template <typename L>
SONREL_ALWAYS_INLINE void ToDoubles(const FourInts& ints, Quad& values) {
#if SONREL_X86 && !defined(__clang__)
    if constexpr (L::DOUBLE_COUNT >= 4) {
        values = __builtin_ia32_cvtdq2pd256(ints);
        return;
    }
#endif
    values = __builtin_convertvector(ints, Quad);
}

#pragma GCC diagnostic pop

/// Converts two frames. Each value is the upper half of a lane that is shifted down with its sign.
template <typename L>
SONREL_ALWAYS_INLINE void LoadTwoFrames(const short* frames, Quad& values) {
    typedef std::int64_t Longs __attribute__((vector_size(16)));
    typedef std::int16_t Shorts __attribute__((vector_size(16)));
    std::int64_t bits;
    Load(bits, frames);
    const auto shorts = reinterpret_cast<Shorts>(Longs{bits, 0});
    const Shorts doubled = __builtin_shufflevector(shorts, shorts, 0, 0, 1, 1, 2, 2, 3, 3);
    ToDoubles<L>(reinterpret_cast<FourInts>(doubled) >> 16, values);
}

/// Two frames of the signal into the lanes of the shelf, and two that left the shelf into the lanes
/// of the high-pass.
template <typename L>
SONREL_ALWAYS_INLINE void Feed(const short* frames, const Pair& shelved, Pair& in) {
    Quad signal;
    LoadTwoFrames<L>(frames, signal);
    in.first = __builtin_shufflevector(signal, shelved.first, 0, 1, 4, 5);
    in.second = __builtin_shufflevector(signal, shelved.second, 2, 3, 4, 5);
}

/// Adds the squares of two frames that left the high-pass.
SONREL_ALWAYS_INLINE void AddSquares(const Pair& out, Quad& squares) {
    const Quad weighted = __builtin_shufflevector(out.first, out.second, 2, 3, 6, 7);
    squares += weighted * weighted;
}

struct EnergyKernel {
    using Signature = double(const short* frames, int count, const KWeightingLanes& lanes,
                             KWeightingState& state);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static double Run(const short* frames, int count,
                                           const KWeightingLanes& lanes, KWeightingState& stored) {
        LaneState state;
        Load(state.u, stored.u);
        Load(state.v, stored.v);
        Quad squares{};
        if (count >= 2) RunPairs<L>(lanes, frames, count / 2, state, squares);
        if (count % 2 != 0) {
            RunFrame(lanes, frames + 2 * static_cast<std::ptrdiff_t>(count - 1), state, squares);
        }
        Store(stored.u, state.u);
        Store(stored.v, state.v);
        return (squares[0] + squares[1]) + (squares[2] + squares[3]);
    }

    /// The first step fills the pipeline and the last step empties it.
    template <typename L>
    SONREL_ALWAYS_INLINE static void RunPairs(const KWeightingLanes& lanes, const short* frames,
                                              int pairs, LaneState& state, Quad& squares) {
        const LaneConstants constants(lanes);
        const LaneState before = state;
        Pair in;
        Pair out{};
        Feed<L>(frames, out, in);
        FilterPair(constants, in, state, out);
        Merge(state, before, state);
        const short* const end = frames + 4 * static_cast<std::ptrdiff_t>(pairs);
        for (const short* pair = frames + 4; pair < end; pair += 4) {
            Feed<L>(pair, out, in);
            FilterPair(constants, in, state, out);
            AddSquares(out, squares);
        }
        const LaneState shelf = state;
        Feed<L>(frames, out, in);
        FilterPair(constants, in, state, out);
        Merge(shelf, state, state);
        AddSquares(out, squares);
    }

    /// The last frame of an odd number: through the shelf, then through the high-pass.
    SONREL_ALWAYS_INLINE static void RunFrame(const KWeightingLanes& lanes, const short* frame,
                                              LaneState& state, Quad& squares) {
        const LaneState before = state;
        Quad in = {static_cast<double>(frame[0]), static_cast<double>(frame[1]), 0.0, 0.0};
        Pair out{};
        FilterFrame(lanes, in, state, out.first);
        Merge(state, before, state);
        const LaneState shelf = state;
        in = __builtin_shufflevector(out.first, out.first, 0, 1, 0, 1);
        FilterFrame(lanes, in, state, out.first);
        Merge(shelf, state, state);
        AddSquares(out, squares);
    }
};

constexpr auto ENERGY = KernelsOf<EnergyKernel>();

void DropSmallStates(double (&states)[4]) {
    for (double& state : states) {
        if (std::fabs(state) < MIN_STATE) state = 0.0;
    }
}

/// Sets the constants of a section in its two lanes.
void SetLanes(const FilterSection& section, int firstLane, KWeightingLanes& lanes) {
    for (int lane = firstLane; lane < firstLane + 2; ++lane) {
        const double a1 = section.a1;
        const double a2 = section.a2;
        const double c1 = section.b1 / section.b0 - a1;
        const double c2 = section.b2 / section.b0 - a2;
        lanes.a1[lane] = a1;
        lanes.a2[lane] = a2;
        lanes.c1[lane] = c1;
        lanes.c2[lane] = c2;
        lanes.betweenU[lane] = a2 / a1 - a1;
        lanes.betweenV[lane] = -1.0 / a1;
        lanes.nextU[lane] = a1 * a1 - 2.0 * a2;
        lanes.nextUFirst[lane] = c2 - a1 * c1;
        lanes.nextV[lane] = -(a2 * a2);
        lanes.nextVFirst[lane] = a2 * c2;
        lanes.nextVSecond[lane] = a2 * c1 - a1 * c2;
    }
}

}  // namespace

FilterSection ShelfSection(int rate) {
    const double k = WarpedFrequency(SHELF_HERTZ, rate);
    const double high = std::pow(10.0, SHELF_DECIBELS / 20.0);
    const double band = std::pow(high, SHELF_BAND_POWER);
    const double a0 = 1.0 + k / SHELF_Q + k * k;
    return {(high + band * k / SHELF_Q + k * k) / a0, 2.0 * (k * k - high) / a0,
            (high - band * k / SHELF_Q + k * k) / a0, 2.0 * (k * k - 1.0) / a0,
            (1.0 - k / SHELF_Q + k * k) / a0};
}

FilterSection HighPassSection(int rate) {
    const double k = WarpedFrequency(HIGH_PASS_HERTZ, rate);
    const double a0 = 1.0 + k / HIGH_PASS_Q + k * k;
    return {1.0, -2.0, 1.0, 2.0 * (k * k - 1.0) / a0, (1.0 - k / HIGH_PASS_Q + k * k) / a0};
}

KWeighting::KWeighting(int rate) {
    const FilterSection shelf = ShelfSection(rate);
    const FilterSection highPass = HighPassSection(rate);
    SetLanes(shelf, 0, lanes_);
    SetLanes(highPass, 2, lanes_);
    const double scale = shelf.b0 * highPass.b0 / FULL_SCALE;
    scale_ = scale * scale;
}

double KWeighting::Energy(const short* frames, int count) {
    const double energy = ENERGY.Active()(frames, count, lanes_, state_);
    DropSmallStates(state_.u);
    DropSmallStates(state_.v);
    return energy * scale_;
}

}  // namespace orlo::sonrel::detail
