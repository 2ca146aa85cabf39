// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "host/arrangement/TimelineImport.h"

namespace orlo::host {

/// Removes from an import the ducking of tracks whose parameters the plugin pack refuses, and of
/// tracks that no other track of exactly one name lowers. Each is reported.
void DropRefusedDucking(otio::TimelineImport& import);

/// The track that lowers a track.
/// @param track  a track with ducking, of an import without refused ducking (DropRefusedDucking)
std::size_t KeyTrackOf(const std::vector<otio::PlacedTrack>& tracks,
                       const otio::PlacedTrack& track);

}  // namespace orlo::host
