// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/arrangement/Arrangement.h"

namespace orlo::host {

/// A range in frames of the engine, with fractions; @p end is exclusive.
struct Stretch {
    double begin = 0.0;
    double end = 0.0;
};

/// The frames of the track that each clip asks for, with the frames of its transitions.
std::vector<Stretch> SoundingFrames(const otio::PlacedTrack& track);

/// The frame of its source that a clip plays on a frame of its track.
double SourceFrame(const otio::PlacedClip& clip, double frame);

/// The frames of its source that a clip plays on frames of its track.
Stretch SourceFrames(const otio::PlacedClip& clip, const Stretch& frames);

}  // namespace orlo::host
