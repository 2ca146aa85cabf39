// SPDX-License-Identifier: MIT
#pragma once

#include "host/mix/MixReport.h"
#include "host/shell/Summary.h"

namespace orlo::host {

/// Adds the state of a finished mix to a summary: its length, its loudness and where it clips.
/// @param meters  null for the mix of a media file, which has no meters
void SummarizeMix(long long samples, const LoudnessMeter& loudness, const MeterSummary* meters,
                  const FrameGrid& grid, Summary& summary);

}  // namespace orlo::host
