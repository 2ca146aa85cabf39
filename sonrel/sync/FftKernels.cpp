// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/FftKernels.h"

#include <cstring>
#include <utility>

#include "sonrel/sync/detail/FftTables.h"

// The design is described in Fft.cpp. Every butterfly runs exactly the operations of the plain
// form, in its own lane, except that the 2-point level skips the multiplication by its factor 1. A
// form that multiplies there may differ in the sign of a zero and in the other part of a point with
// an infinity or a NaN. Otherwise only the order of the butterflies differs, and the number of
// levels that run while the points are in registers.
namespace orlo::sonrel::detail {
namespace {

template <typename L>
using Doubles = typename L::Doubles;

// ---- Transposing -------------------------------------------------------------------------------

/// Exchanges the lanes that have bit D with the vectors that have it.
template <typename L, int D, int... LANE>
SONREL_ALWAYS_INLINE void ExchangeBit(Doubles<L>& a, Doubles<L>& b,
                                      std::integer_sequence<int, LANE...>) {
    constexpr int WIDTH = L::DOUBLE_COUNT;
    const Doubles<L> first =
        __builtin_shufflevector(a, b, ((LANE & D) == 0 ? LANE : WIDTH + LANE - D)...);
    b = __builtin_shufflevector(a, b, ((LANE & D) == 0 ? LANE + D : WIDTH + LANE)...);
    a = first;
}

/// Transposes as many vectors as a vector has lanes.
template <typename L, int D = 1>
SONREL_ALWAYS_INLINE void Transpose(Doubles<L>* rows) {
    constexpr int WIDTH = L::DOUBLE_COUNT;
    constexpr auto LANES = LANE_NUMBERS<L::DOUBLE_COUNT>;
#pragma GCC unroll 8
    for (int i = 0; i < WIDTH; ++i) {
        if ((i & D) == 0) ExchangeBit<L, D>(rows[i], rows[i + D], LANES);
    }
    if constexpr (2 * D < WIDTH) Transpose<L, 2 * D>(rows);
}

// ---- Butterflies -------------------------------------------------------------------------------

template <typename L>
SONREL_ALWAYS_INLINE void Butterfly(Doubles<L>& ar, Doubles<L>& ai, Doubles<L>& br, Doubles<L>& bi,
                                    const Doubles<L>& wr, const Doubles<L>& wi) {
    const Doubles<L> tr = br * wr - bi * wi;
    const Doubles<L> ti = br * wi + bi * wr;
    br = ar - tr;
    bi = ai - ti;
    ar = ar + tr;
    ai = ai + ti;
}

template <typename L>
SONREL_ALWAYS_INLINE void PlainButterfly(Doubles<L>& ar, Doubles<L>& ai, Doubles<L>& br,
                                         Doubles<L>& bi) {
    const Doubles<L> tr = br;
    const Doubles<L> ti = bi;
    br = ar - tr;
    bi = ai - ti;
    ar = ar + tr;
    ai = ai + ti;
}

// ---- Bit reversal and the base levels ----------------------------------------------------------

constexpr int ROWS = 8;
constexpr int REVERSED[ROWS] = {0, 4, 2, 6, 1, 5, 3, 7};

constexpr std::size_t Reverse(std::size_t value, int bits) {
    std::size_t reversed = 0;
    for (int bit = 0; bit < bits; ++bit) reversed |= (value >> bit & 1U) << (bits - 1 - bit);
    return reversed;
}

/// The base levels over eight vectors: lane by lane, transforms of eight points in reversed order.
template <typename L>
SONREL_ALWAYS_INLINE void RunBaseLevels(Doubles<L>* re, Doubles<L>* im, const double* twiddles) {
#pragma GCC unroll 8
    for (int i = 0; i < ROWS; i += 2) PlainButterfly<L>(re[i], im[i], re[i + 1], im[i + 1]);
#pragma GCC unroll 8
    for (int i = 0; i < ROWS; ++i) {
        if ((i & 2) != 0) continue;
        const int k = i & 1;
        const Doubles<L> wr = Doubles<L>{} + twiddles[2 * k];
        const Doubles<L> wi = Doubles<L>{} + twiddles[2 * k + 1];
        Butterfly<L>(re[i], im[i], re[i + 2], im[i + 2], wr, wi);
    }
#pragma GCC unroll 8
    for (int i = 0; i < ROWS / 2; ++i) {
        const Doubles<L> wr = Doubles<L>{} + twiddles[4 + 2 * i];
        const Doubles<L> wi = Doubles<L>{} + twiddles[4 + 2 * i + 1];
        Butterfly<L>(re[i], im[i], re[i + 4], im[i + 4], wr, wi);
    }
}

/// Reads a tile and writes its reversed and transformed rows as groups.
/// @param from        first point of the tile's first row
/// @param fromStride  doubles between its rows
template <typename L>
SONREL_ALWAYS_INLINE void TransformTile(const double* from, std::size_t fromStride, double* to,
                                        std::size_t toStride, const double* twiddles) {
    constexpr int WIDTH = L::DOUBLE_COUNT;
    constexpr auto LANES = LANE_NUMBERS<L::DOUBLE_COUNT>;
#pragma GCC unroll 4
    for (int part = 0; part < ROWS; part += WIDTH) {
        Doubles<L> re[ROWS];
        Doubles<L> im[ROWS];
#pragma GCC unroll 8
        for (int row = 0; row < ROWS; ++row) {
            const double* at = from + static_cast<std::size_t>(row) * fromStride + 2 * part;
            Doubles<L> low;
            Doubles<L> high;
            Load(low, at);
            Load(high, at + WIDTH);
            SplitPairs(low, high, re[REVERSED[row]], im[REVERSED[row]], LANES);
        }
        RunBaseLevels<L>(re, im, twiddles);
#pragma GCC unroll 4
        for (int group = 0; group < ROWS; group += WIDTH) {
            Transpose<L>(re + group);
            Transpose<L>(im + group);
#pragma GCC unroll 8
            for (int lane = 0; lane < WIDTH; ++lane) {
                double* at =
                    to + static_cast<std::size_t>(REVERSED[part + lane]) * toStride + 2 * group;
                Store(at, re[group + lane]);
                Store(at + WIDTH, im[group + lane]);
            }
        }
    }
}

struct ReverseKernel {
    using Signature = void(double* data, std::size_t points, std::size_t firstTile,
                           std::size_t endTile);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(double* data, std::size_t points, std::size_t firstTile,
                                         std::size_t endTile) {
        constexpr std::size_t ROW_DOUBLES = 2 * ROWS;
        const double* twiddles = BaseTwiddles();
        const std::size_t stride = 2 * (points / ROWS);
        int tileBits = 0;
        while ((TILE_POINTS << tileBits) < points) ++tileBits;
        alignas(64) double kept[2 * TILE_POINTS];
        for (std::size_t tile = firstTile; tile < endTile; ++tile) {
            const std::size_t other = Reverse(tile, tileBits);
            if (other < tile) continue;
            double* here = data + ROW_DOUBLES * tile;
            double* there = data + ROW_DOUBLES * other;
            TransformTile<L>(here, stride, kept, ROW_DOUBLES, twiddles);
            if (other != tile) TransformTile<L>(there, stride, here, stride, twiddles);
            for (std::size_t row = 0; row < ROWS; ++row) {
                std::memcpy(there + row * stride, kept + row * ROW_DOUBLES,
                            ROW_DOUBLES * sizeof(double));
            }
        }
    }
};

// ---- Passes ------------------------------------------------------------------------------------

template <int LEVELS, bool LAST>
struct PassKernel {
    using Signature = void(double* data, std::size_t legPoints, std::size_t blocks,
                           const double* twiddles);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(double* data, std::size_t legPoints, std::size_t blocks,
                                         const double* twiddles) {
        constexpr int WIDTH = L::DOUBLE_COUNT;
        constexpr int LEGS = 1 << LEVELS;
        constexpr auto LANES = LANE_NUMBERS<L::DOUBLE_COUNT>;
        const std::size_t leg = 2 * legPoints;
        for (std::size_t block = 0; block < blocks; ++block) {
            double* at = data + block * LEGS * leg;
            const double* factor = twiddles;
            for (std::size_t step = 0; step < legPoints; step += WIDTH) {
                Doubles<L> re[LEGS];
                Doubles<L> im[LEGS];
#pragma GCC unroll 8
                for (int i = 0; i < LEGS; ++i) {
                    Load(re[i], at + static_cast<std::size_t>(i) * leg);
                    Load(im[i], at + static_cast<std::size_t>(i) * leg + WIDTH);
                }
#pragma GCC unroll 3
                for (int level = 0; level < LEVELS; ++level) {
                    const int half = 1 << level;
#pragma GCC unroll 4
                    for (int k = 0; k < half; ++k) {
                        Doubles<L> wr;
                        Doubles<L> wi;
                        Load(wr, factor + 2 * WIDTH * (half - 1 + k));
                        Load(wi, factor + 2 * WIDTH * (half - 1 + k) + WIDTH);
#pragma GCC unroll 4
                        for (int i = k; i < LEGS; i += 2 * half) {
                            Butterfly<L>(re[i], im[i], re[i + half], im[i + half], wr, wi);
                        }
                    }
                }
#pragma GCC unroll 8
                for (int i = 0; i < LEGS; ++i) {
                    double* to = at + static_cast<std::size_t>(i) * leg;
                    if constexpr (LAST) {
                        Doubles<L> low;
                        Doubles<L> high;
                        JoinPairs(re[i], im[i], low, high, LANES);
                        Store(to, low);
                        Store(to + WIDTH, high);
                    } else {
                        Store(to, re[i]);
                        Store(to + WIDTH, im[i]);
                    }
                }
                at += 2 * WIDTH;
                factor += 2 * WIDTH * (LEGS - 1);
            }
        }
    }
};

// ---- One set for each path ---------------------------------------------------------------------

constexpr PerCpuPath<int> WIDTHS = {2, 4, 8};
constexpr PerCpuPath<int> PASS_LEVELS = {2, 2, 3};  // only AVX-512 has the registers for three

template <int LEVELS, bool LAST>
constexpr FftKernels::Pass PassOn(CpuPath path) {
    return KernelsOf<PassKernel<LEVELS, LAST>>().On(path);
}

constexpr FftKernels KernelsOn(CpuPath path) {
    return {WIDTHS.On(path),
            PASS_LEVELS.On(path),
            KernelsOf<ReverseKernel>().On(path),
            {PassOn<1, false>(path), PassOn<2, false>(path), PassOn<3, false>(path)},
            {PassOn<1, true>(path), PassOn<2, true>(path), PassOn<3, true>(path)}};
}

}  // namespace

constinit const PerCpuPath<FftKernels> FFT_KERNELS = ForEveryPath(KernelsOn);

}  // namespace orlo::sonrel::detail
