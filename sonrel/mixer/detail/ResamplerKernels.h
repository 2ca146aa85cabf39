// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/detail/CpuPath.h"
#include "sonrel/mixer/detail/ResamplerTables.h"

namespace orlo::sonrel::detail {

/// Output frames that are computed in one go.
constexpr int BATCH_FRAMES = 256;

/// Where the taps of each frame of a batch lie, and which weights they get.
struct TapBatch {
    int count = 0;
    int firstTap[BATCH_FRAMES];     ///< index of the first tap in the planar source
    int table[BATCH_FRAMES];        ///< row, or interval
    double t[BATCH_FRAMES];         ///< fraction less the middle of the interval
    double sums[2 * BATCH_FRAMES];  ///< result: left and right of each frame
};

/// Sums over the taps of every frame of the batch. @p left and @p right hold the source channel
/// by channel, with finite values up to ROW_LENGTH behind each first tap.
struct ResamplerKernels {
    void (*sumWithRows)(const ResamplerTables& tables, const double* left, const double* right,
                        TapBatch& batch);
    void (*sumWithPolynomials)(const ResamplerTables& tables, const double* left,
                               const double* right, TapBatch& batch);
};

const ResamplerKernels& KernelsOfPath(CpuPath path);

}  // namespace orlo::sonrel::detail
