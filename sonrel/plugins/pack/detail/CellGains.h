// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/Raster.h"

namespace orlo::sonrel::detail {

/// Multiplies the output of a block by gains and rounds it. Within a cell the gain is a straight
/// line from the gain at its start to the gain at the start of the next cell.
/// @param position  of the first frame of the output on the raster
/// @param gains     at the starts of the cells of the output, and at the end of its last cell
void ApplyGains(const EffectBlock& block, const Raster& cells, long long position,
                const std::vector<double>& gains);

}  // namespace orlo::sonrel::detail
