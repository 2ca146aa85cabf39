// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/arrangement/Arrangement.h"
#include "host/shell/Progress.h"
#include "host/timeline/Positions.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// Adds the ducking of a timeline to the objects of its sequence, after all other effects.
///
/// Each track that lowers another is mixed once, from the first to the last frame, as it sounds in
/// the sequence, except for its own ducking and the master level. A track that is inaudible because
/// it is muted or another track is solo lowers nothing.
/// @param arrangement  of an import without refused ducking (DropRefusedDucking)
/// @param project      with the built sequence of the arrangement; its media are conformed
/// @throws JobError when a media file cannot be read; CommandError when the program is asked to
///         stop
void DuckTracks(const otio::Arrangement& arrangement, const FrameGrid& grid,
                const std::shared_ptr<project::Project>& project, Progress& progress);

}  // namespace orlo::host
