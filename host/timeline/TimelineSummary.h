// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/shell/Summary.h"
#include "host/timeline/MediaComparison.h"

namespace orlo::host {

/// Adds the state of a timeline to a summary: the clips that sound, silent tracks, missing media
/// and the other entries of the import report.
/// @param tracks  of the timeline, or of the nested item that is mixed
/// @param clips   result of the comparison that completed the report
void SummarizeTimeline(const std::vector<otio::PlacedTrack>& tracks, const ClipTally& clips,
                       const otio::ImportReport& report, Summary& summary);

}  // namespace orlo::host
