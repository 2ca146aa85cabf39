// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/cpu/Kernels.h"
#include "sonrel/mixer/detail/ResamplerTables.h"

namespace orlo::sonrel::detail {

/// Output frames that are computed together, a multiple of every vector's lanes.
constexpr int BATCH_FRAMES = 256;

/// Source frames of one batch, channel by channel.
constexpr int BATCH_SPAN = 1280;

/// Output frames that are computed together, with the intermediate results of each.
struct TapBatch {
    int first = 0;             ///< output frame at which the batch begins
    int count = 0;             ///< frames, at most BATCH_FRAMES
    int firstSourceFrame = 0;  ///< source frame at left[0] and right[0]

    alignas(64) std::int32_t firstTap[BATCH_FRAMES];  ///< index of the first tap in left and right
    alignas(64) std::int32_t table[BATCH_FRAMES];     ///< interval of the fraction; also its row
    alignas(64) double t[BATCH_FRAMES];               ///< fraction minus the middle of the interval
    alignas(64) double sums[2 * BATCH_FRAMES];        ///< left and right of each frame
    /// Not 0 where the formula has to decide, one value per sum.
    alignas(64) std::int64_t undecided[2 * BATCH_FRAMES];

    /// The source with finite values up to ROW_LENGTH frames after each first tap.
    alignas(64) double left[BATCH_SPAN];
    alignas(64) double right[BATCH_SPAN];
};

/// The stages of a batch, compiled for one path.
struct ResamplerKernels {
    /// Fills firstTap, table and t from the positions; undecided where 23 + position rounds up to a
    /// whole number that position does not reach.
    void (*placeTaps)(double speed, int sourceOffset, TapBatch& batch);
    /// Splits @p count stereo frames into left and right.
    void (*splitChannels)(const short* source, int count, TapBatch& batch);
    /// Fills sums with the weights of the rows.
    void (*sumWithRows)(const ResamplerTables& tables, TapBatch& batch);
    /// Fills sums with the weights of the polynomials.
    void (*sumWithPolynomials)(const ResamplerTables& tables, TapBatch& batch);
    /// Stores every sum as a sample, and marks as undecided each sum nearer than @p margin to a
    /// whole number other than 0, which is not a border for a sum that is cut toward zero.
    /// @return whether any sum is undecided
    bool (*storeSums)(double margin, short* output, TapBatch& batch);
};

extern const PerCpuPath<ResamplerKernels> RESAMPLER_KERNELS;

}  // namespace orlo::sonrel::detail
