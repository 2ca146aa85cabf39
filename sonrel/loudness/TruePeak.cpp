// SPDX-License-Identifier: MIT
#include "sonrel/loudness/detail/TruePeak.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int TAPS = 49;
/// Frames that are screened at once.
constexpr int TILE = 32;
/// Frames that are converted at once.
constexpr int PIECE = 512;
constexpr int HISTORY = TruePeak::HISTORY;
/// The innermost third of the pairs, which has most of the weight of a filter.
constexpr int InnerPairs(int pairs) {
    return pairs / 3;
}
/// Room for the rounding errors of a value. A value is a sum of at most 24 products, each with a
/// relative error of at most 3 * 2^-24, and every partial sum is below twice the limit.
constexpr float ROUNDING = 1.0f + 1e-5f;

static_assert(HISTORY >= 2 * TILE, "the last tile may begin up to a tile before the new frames");
static_assert(TILE >= 2 * PeakFilter::MAX_PAIRS, "a tile covers the memory of the filter");

int PhasesAt(int rate) {
    if (rate < 96000) return 4;
    return rate < 192000 ? 2 : 1;
}

/// @param tap  0 to TAPS - 1
double WindowedSinc(int tap, int phases) {
    const double angle = (tap - (TAPS - 1) / 2.0) * std::numbers::pi / phases;
    const double window = 0.5 * (1.0 - std::cos(2.0 * std::numbers::pi * tap / (TAPS - 1)));
    return std::sin(angle) / angle * window;
}

// ---- The kernel --------------------------------------------------------------------------------

template <typename L>
SONREL_ALWAYS_INLINE void TakeMagnitudes(typename L::Floats& values) {
    typedef typename L::Ints Ints;
    values = reinterpret_cast<typename L::Floats>(reinterpret_cast<Ints>(values) & 0x7fffffff);
}

template <typename L>
SONREL_ALWAYS_INLINE void Raise(const typename L::Floats& magnitudes, typename L::Floats& largest) {
    largest = largest < magnitudes ? magnitudes : largest;
}

/// The largest lane.
template <typename L>
SONREL_ALWAYS_INLINE float LargestOf(const typename L::Floats& values) {
    if constexpr (L::COUNT > 4) {
        typedef Lanes<2 * L::COUNT> Half;
        typename L::HalfFloats halves[2];
        Store(halves, values);
        typename L::HalfFloats largest = halves[0];
        Raise<Half>(halves[1], largest);
        return LargestOf<Half>(largest);
    } else {
        return std::max(std::max(values[0], values[1]), std::max(values[2], values[3]));
    }
}

/// Both channels of a piece, after their history.
struct PeakPiece {
    float channels[2][HISTORY + PIECE];
};

template <typename L>
SONREL_ALWAYS_INLINE float LargestSample(const PeakPiece& piece, int first) {
    typename L::Floats largest{};
    for (const auto& channel : piece.channels) {
        for (int i = 0; i < TILE; i += L::COUNT) {
            typename L::Floats values;
            Load(values, channel + HISTORY + first + i);
            TakeMagnitudes<L>(values);
            Raise<L>(values, largest);
        }
    }
    return LargestOf<L>(largest);
}

/// Values between the samples of a vector: in the middle, and before and after it.
template <typename L>
struct Between {
    typename L::Floats middle{};
    typename L::Floats side{};
    typename L::Floats sideDifference{};
};

/// Adds a pair of taps.
/// @param samples  the youngest samples of the vector
template <typename L, int PHASES, int PAIRS>
SONREL_ALWAYS_INLINE void AddPair(const float* samples, int pair, const PeakFilter& filter,
                                  Between<L>& between) {
    typename L::Floats young;
    typename L::Floats old;
    Load(young, samples - pair);
    Load(old, samples - (2 * PAIRS - 1) + pair);
    const typename L::Floats sum = young + old;
    between.middle += sum * filter.middle[pair];
    if constexpr (PHASES == 4) {
        between.side += sum * filter.side[pair];
        between.sideDifference += (young - old) * filter.sideDifference[pair];
    }
}

/// The larger magnitude of a sum and a difference is the sum of the magnitudes.
template <typename L, int PHASES>
SONREL_ALWAYS_INLINE void RaiseBetween(Between<L>& between, typename L::Floats& largest) {
    TakeMagnitudes<L>(between.middle);
    Raise<L>(between.middle, largest);
    if constexpr (PHASES == 4) {
        TakeMagnitudes<L>(between.side);
        TakeMagnitudes<L>(between.sideDifference);
        Raise<L>(between.side + between.sideDifference, largest);
    }
}

/// The largest interpolated magnitude of a tile, from the pairs beginning with @p FIRST. The pairs
/// count from the ends of the filter to its middle. Two vectors share the loads of the factors.
template <typename L, int PHASES, int PAIRS, int FIRST>
SONREL_ALWAYS_INLINE float LargestBetween(const PeakPiece& piece, int first,
                                          const PeakFilter& filter) {
    typename L::Floats largest{};
    for (const auto& channel : piece.channels) {
        const float* tile = channel + HISTORY + first;
        for (int i = 0; i < TILE; i += 2 * L::COUNT) {
            Between<L> low;
            Between<L> high;
#pragma GCC unroll 12
            for (int pair = FIRST; pair < PAIRS; ++pair) {
                AddPair<L, PHASES, PAIRS>(tile + i, pair, filter, low);
                AddPair<L, PHASES, PAIRS>(tile + i + L::COUNT, pair, filter, high);
            }
            RaiseBetween<L, PHASES>(low, largest);
            RaiseBetween<L, PHASES>(high, largest);
        }
    }
    return LargestOf<L>(largest);
}

/// The peak after a tile. Two screens skip the filter where the tile cannot raise the peak, so that
/// the result is that of filtering every tile:
///
/// - Every interpolated value is a sum of weights times samples, so that its magnitude is at most
///   the sum of the magnitudes of the weights, the gain, times the largest sample under the filter.
/// - It is at most the magnitude of the part of the inner pairs plus the gain of the outer pairs
///   times the largest sample.
template <typename L, int PHASES, int PAIRS>
SONREL_ALWAYS_INLINE float PeakAfterTile(const PeakPiece& piece, int first, float largestSample,
                                         const PeakFilter& filter, float peak) {
    if (largestSample * filter.gain * ROUNDING <= peak) return peak;
    const float inner =
        LargestBetween<L, PHASES, PAIRS, PAIRS - InnerPairs(PAIRS)>(piece, first, filter);
    if ((inner + largestSample * filter.outerGain) * ROUNDING <= peak) return peak;
    return std::max(peak, LargestBetween<L, PHASES, PAIRS, 0>(piece, first, filter));
}

template <typename L>
SONREL_ALWAYS_INLINE void Convert(const short* frames, int count, PeakPiece& piece) {
    for (int i = -HISTORY; i < count; i += L::COUNT) {
        const int at = std::min(i, count - L::COUNT);
        typename L::Floats left;
        typename L::Floats right;
        LoadFrames<L>(frames + 2 * at, left, right);
        Store(piece.channels[0] + HISTORY + at, left);
        Store(piece.channels[1] + HISTORY + at, right);
    }
}

struct PeakKernel {
    using Signature = float(const short* frames, int count, const PeakFilter& filter, float peak);
    static constexpr CpuPath WIDEST = CpuPath::Avx512;

    /// @param count  at most PIECE
    template <typename L>
    SONREL_ALWAYS_INLINE static float Run(const short* frames, int count, const PeakFilter& filter,
                                          float peak) {
        PeakPiece piece;
        Convert<L>(frames, count, piece);
        if (filter.phases == 4) return RunTiles<L, 4, 6>(piece, count, filter, peak);
        if (filter.phases == 2) return RunTiles<L, 2, 12>(piece, count, filter, peak);
        return RunTiles<L, 1, 0>(piece, count, filter, peak);
    }

    /// The last tile ends with the last frame and overlaps the tile before it.
    template <typename L, int PHASES, int PAIRS>
    SONREL_ALWAYS_INLINE static float RunTiles(const PeakPiece& piece, int count,
                                               const PeakFilter& filter, float peak) {
        float older = LargestSample<L>(piece, -2 * TILE);
        float old = LargestSample<L>(piece, -TILE);
        for (int start = 0; start < count; start += TILE) {
            const int first = std::min(start, count - TILE);
            const float now = LargestSample<L>(piece, first);
            peak = std::max(peak, now);
            if constexpr (PHASES > 1) {
                const float largest = std::max({older, old, now});
                peak = PeakAfterTile<L, PHASES, PAIRS>(piece, first, largest, filter, peak);
            }
            older = old;
            old = now;
        }
        return peak;
    }
};

constexpr auto PEAK = KernelsOf<PeakKernel>();

}  // namespace

PeakFilter::PeakFilter(int rate) : phases(PhasesAt(rate)) {
    if (phases == 1) return;
    pairs = (TAPS / phases + 1) / 2;
    const int last = 2 * pairs - 1;
    double middleGain = 0.0;
    double sideGain = 0.0;
    for (int pair = 0; pair < pairs; ++pair) {
        const double center = WindowedSinc(phases * pair + phases / 2, phases);
        middle[pair] = static_cast<float>(center);
        middleGain += 2.0 * std::abs(center);
        if (phases == 4) {
            const double young = WindowedSinc(phases * pair + 1, phases);
            const double old = WindowedSinc(phases * (last - pair) + 1, phases);
            side[pair] = static_cast<float>((young + old) / 2.0);
            sideDifference[pair] = static_cast<float>((young - old) / 2.0);
            sideGain += std::abs(young) + std::abs(old);
        }
        gain = static_cast<float>(std::max(middleGain, sideGain));
        if (pair == pairs - 1 - InnerPairs(pairs)) outerGain = gain;
    }
}

void TruePeak::Add(const short* frames, int count) {
    for (int done = 0; done < count; done += PIECE) {
        const int piece = std::min(PIECE, count - done);
        peak_ =
            PEAK.Active()(frames + 2 * static_cast<std::ptrdiff_t>(done), piece, filter_, peak_);
    }
}

}  // namespace orlo::sonrel::detail
