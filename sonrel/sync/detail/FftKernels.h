// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "sonrel/cpu/Kernels.h"

namespace orlo::sonrel::detail {

/// Points of a tile of the bit reversal, in eight rows of eight.
constexpr std::size_t TILE_POINTS = 64;

/// The stages of a transform of at least TILE_POINTS points, compiled for one path.
///
/// Between the first stage and the last pass the points are in groups: the real parts of @p width
/// neighbours, then their imaginary parts. Before and after, real and imaginary parts are
/// interleaved.
struct FftKernels {
    int width = 0;       ///< points in a group
    int passLevels = 0;  ///< levels that one pass runs, at most

    /// Puts the points of tiles into bit-reversed order and runs the base levels on them. The lower
    /// of two tiles that change places is processed together with the other, so that disjoint
    /// ranges of tiles may run at the same time.
    /// @param points  of the whole transform
    void (*reverse)(double* data, std::size_t points, std::size_t firstTile, std::size_t endTile);

    /// Runs some levels on @p blocks neighbouring transforms of 2^levels legs.
    /// @param legPoints  points of a leg
    /// @param twiddles   PassTable of these levels
    using Pass = void (*)(double* data, std::size_t legPoints, std::size_t blocks,
                          const double* twiddles);
    Pass pass[3];      ///< by levels, less one
    Pass lastPass[3];  ///< the same; interleaves the parts again
};

extern const PerCpuPath<FftKernels> FFT_KERNELS;

}  // namespace orlo::sonrel::detail
