// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/FftKernels.h"

#include <cstring>
#include <utility>

#include "sonrel/sync/detail/DoubleLanes.h"
#include "sonrel/sync/detail/FftTables.h"

// Every butterfly does exactly the operations of the plain form, in its own lane, except that the
// 2-point level leaves out the multiplication by its factor 1. A form that multiplies there may
// differ in the sign of a zero and in the partner of an infinity or a NaN. Apart from that the
// difference is only which butterflies run side by side, and how many levels run while the points
// are in registers.
namespace orlo::sonrel::detail {
namespace {

// ---- Transposing -------------------------------------------------------------------------------

/// Exchanges the lanes that have bit D with the vectors that have it.
template <int WIDTH, int D, int... LANE>
SONREL_ALWAYS_INLINE void ExchangeBit(Doubles<WIDTH>& a, Doubles<WIDTH>& b,
                                      std::integer_sequence<int, LANE...>) {
    const Doubles<WIDTH> first =
        __builtin_shufflevector(a, b, ((LANE & D) == 0 ? LANE : WIDTH + LANE - D)...);
    b = __builtin_shufflevector(a, b, ((LANE & D) == 0 ? LANE + D : WIDTH + LANE)...);
    a = first;
}

/// Transposes WIDTH vectors of WIDTH lanes.
template <int WIDTH, int D = 1>
SONREL_ALWAYS_INLINE void Transpose(Doubles<WIDTH>* rows) {
    constexpr auto LANES = std::make_integer_sequence<int, WIDTH>();
#pragma GCC unroll 8
    for (int i = 0; i < WIDTH; ++i) {
        if ((i & D) == 0) ExchangeBit<WIDTH, D>(rows[i], rows[i + D], LANES);
    }
    if constexpr (2 * D < WIDTH) Transpose<WIDTH, 2 * D>(rows);
}

// ---- Butterflies -------------------------------------------------------------------------------

template <int WIDTH>
SONREL_ALWAYS_INLINE void Butterfly(Doubles<WIDTH>& ar, Doubles<WIDTH>& ai, Doubles<WIDTH>& br,
                                    Doubles<WIDTH>& bi, const Doubles<WIDTH>& wr,
                                    const Doubles<WIDTH>& wi) {
    const Doubles<WIDTH> tr = br * wr - bi * wi;
    const Doubles<WIDTH> ti = br * wi + bi * wr;
    br = ar - tr;
    bi = ai - ti;
    ar = ar + tr;
    ai = ai + ti;
}

template <int WIDTH>
SONREL_ALWAYS_INLINE void PlainButterfly(Doubles<WIDTH>& ar, Doubles<WIDTH>& ai, Doubles<WIDTH>& br,
                                         Doubles<WIDTH>& bi) {
    const Doubles<WIDTH> tr = br;
    const Doubles<WIDTH> ti = bi;
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
template <int WIDTH>
SONREL_ALWAYS_INLINE void RunBaseLevels(Doubles<WIDTH>* re, Doubles<WIDTH>* im,
                                        const double* twiddles) {
#pragma GCC unroll 8
    for (int i = 0; i < ROWS; i += 2) PlainButterfly<WIDTH>(re[i], im[i], re[i + 1], im[i + 1]);
#pragma GCC unroll 8
    for (int i = 0; i < ROWS; ++i) {
        if ((i & 2) != 0) continue;
        const int k = i & 1;
        const Doubles<WIDTH> wr = Doubles<WIDTH>{} + twiddles[2 * k];
        const Doubles<WIDTH> wi = Doubles<WIDTH>{} + twiddles[2 * k + 1];
        Butterfly<WIDTH>(re[i], im[i], re[i + 2], im[i + 2], wr, wi);
    }
#pragma GCC unroll 8
    for (int i = 0; i < ROWS / 2; ++i) {
        const Doubles<WIDTH> wr = Doubles<WIDTH>{} + twiddles[4 + 2 * i];
        const Doubles<WIDTH> wi = Doubles<WIDTH>{} + twiddles[4 + 2 * i + 1];
        Butterfly<WIDTH>(re[i], im[i], re[i + 4], im[i + 4], wr, wi);
    }
}

/// Reads a tile and writes its reversed and transformed rows as groups.
/// @param from        first point of the tile's first row
/// @param fromStride  doubles between its rows
template <int WIDTH>
SONREL_ALWAYS_INLINE void TransformTile(const double* from, std::size_t fromStride, double* to,
                                        std::size_t toStride, const double* twiddles) {
    constexpr auto LANES = std::make_integer_sequence<int, WIDTH>();
#pragma GCC unroll 4
    for (int part = 0; part < ROWS; part += WIDTH) {
        Doubles<WIDTH> re[ROWS];
        Doubles<WIDTH> im[ROWS];
#pragma GCC unroll 8
        for (int row = 0; row < ROWS; ++row) {
            const double* at = from + static_cast<std::size_t>(row) * fromStride + 2 * part;
            Doubles<WIDTH> low;
            Doubles<WIDTH> high;
            Load(low, at);
            Load(high, at + WIDTH);
            SplitPairs<WIDTH>(low, high, re[REVERSED[row]], im[REVERSED[row]], LANES);
        }
        RunBaseLevels<WIDTH>(re, im, twiddles);
#pragma GCC unroll 4
        for (int group = 0; group < ROWS; group += WIDTH) {
            Transpose<WIDTH>(re + group);
            Transpose<WIDTH>(im + group);
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

template <int WIDTH>
SONREL_ALWAYS_INLINE void ReverseTiles(double* data, std::size_t points, std::size_t firstTile,
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
        TransformTile<WIDTH>(here, stride, kept, ROW_DOUBLES, twiddles);
        if (other != tile) TransformTile<WIDTH>(there, stride, here, stride, twiddles);
        for (std::size_t row = 0; row < ROWS; ++row) {
            std::memcpy(there + row * stride, kept + row * ROW_DOUBLES,
                        ROW_DOUBLES * sizeof(double));
        }
    }
}

// ---- Passes ------------------------------------------------------------------------------------

template <int WIDTH, int LEVELS, bool LAST>
SONREL_ALWAYS_INLINE void RunPass(double* data, std::size_t legPoints, std::size_t blocks,
                                  const double* twiddles) {
    constexpr int LEGS = 1 << LEVELS;
    constexpr auto LANES = std::make_integer_sequence<int, WIDTH>();
    const std::size_t leg = 2 * legPoints;
    for (std::size_t block = 0; block < blocks; ++block) {
        double* at = data + block * LEGS * leg;
        const double* factor = twiddles;
        for (std::size_t step = 0; step < legPoints; step += WIDTH) {
            Doubles<WIDTH> re[LEGS];
            Doubles<WIDTH> im[LEGS];
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
                    Doubles<WIDTH> wr;
                    Doubles<WIDTH> wi;
                    Load(wr, factor + 2 * WIDTH * (half - 1 + k));
                    Load(wi, factor + 2 * WIDTH * (half - 1 + k) + WIDTH);
#pragma GCC unroll 4
                    for (int i = k; i < LEGS; i += 2 * half) {
                        Butterfly<WIDTH>(re[i], im[i], re[i + half], im[i + half], wr, wi);
                    }
                }
            }
#pragma GCC unroll 8
            for (int i = 0; i < LEGS; ++i) {
                double* to = at + static_cast<std::size_t>(i) * leg;
                if constexpr (LAST) {
                    Doubles<WIDTH> low;
                    Doubles<WIDTH> high;
                    JoinPairs<WIDTH>(re[i], im[i], low, high, LANES);
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

// ---- One set for each path ---------------------------------------------------------------------

template <int LEVELS, bool LAST>
void PassBaseline(double* data, std::size_t legPoints, std::size_t blocks, const double* twiddles) {
    RunPass<2, LEVELS, LAST>(data, legPoints, blocks, twiddles);
}

void ReverseBaseline(double* data, std::size_t points, std::size_t firstTile, std::size_t endTile) {
    ReverseTiles<2>(data, points, firstTile, endTile);
}

constexpr FftKernels BASELINE_KERNELS = {
    2,
    2,
    ReverseBaseline,
    {PassBaseline<1, false>, PassBaseline<2, false>, PassBaseline<3, false>},
    {PassBaseline<1, true>, PassBaseline<2, true>, PassBaseline<3, true>}};

#if SONREL_X86

template <int LEVELS, bool LAST>
SONREL_TARGET_AVX2 void PassAvx2(double* data, std::size_t legPoints, std::size_t blocks,
                                 const double* twiddles) {
    RunPass<4, LEVELS, LAST>(data, legPoints, blocks, twiddles);
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX2 void ReverseAvx2(double* data, std::size_t points, std::size_t firstTile,
                                    std::size_t endTile) {
    ReverseTiles<4>(data, points, firstTile, endTile);
    SONREL_LEAVE_AVX();
}

constexpr FftKernels AVX2_KERNELS = {4,
                                     2,
                                     ReverseAvx2,
                                     {PassAvx2<1, false>, PassAvx2<2, false>, PassAvx2<3, false>},
                                     {PassAvx2<1, true>, PassAvx2<2, true>, PassAvx2<3, true>}};

template <int LEVELS, bool LAST>
SONREL_TARGET_AVX512 void PassAvx512(double* data, std::size_t legPoints, std::size_t blocks,
                                     const double* twiddles) {
    RunPass<8, LEVELS, LAST>(data, legPoints, blocks, twiddles);
    SONREL_LEAVE_AVX();
}

SONREL_TARGET_AVX512 void ReverseAvx512(double* data, std::size_t points, std::size_t firstTile,
                                        std::size_t endTile) {
    ReverseTiles<8>(data, points, firstTile, endTile);
    SONREL_LEAVE_AVX();
}

constexpr FftKernels AVX512_KERNELS = {
    8,
    3,
    ReverseAvx512,
    {PassAvx512<1, false>, PassAvx512<2, false>, PassAvx512<3, false>},
    {PassAvx512<1, true>, PassAvx512<2, true>, PassAvx512<3, true>}};

#endif

}  // namespace

const FftKernels& FftKernelsOfPath(CpuPath path) {
#if SONREL_X86
    if (path == CpuPath::Avx512) return AVX512_KERNELS;
    if (path == CpuPath::Avx2) return AVX2_KERNELS;
#endif
    static_cast<void>(path);
    return BASELINE_KERNELS;
}

}  // namespace orlo::sonrel::detail
