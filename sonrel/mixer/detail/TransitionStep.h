// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// One block of one track, between the rendering of its object and the levels.
struct TrackBlock {
    const std::shared_ptr<project::Project>& project;
    const std::shared_ptr<project::EditorSequence>& sequence;
    project::AudioTrack& track;
    int frame = 0;  ///< the block's one video frame
    long long start = 0;
    int count = 0;
    int rate = 0;
};

/// Runs the transition that the block's frame falls into, if any, over the object's own samples.
///
/// An incoming transition goes first and is not bounded from below, an outgoing one not from above:
/// an object so short that both apply gets the incoming one only.
/// @param frames   samples that the object's rendering gave
/// @param samples  those samples; what the plugin leaves here goes on to the levels
void ApplyTransition(AudioMixerImpl& mixer, const TrackBlock& block, project::AudioObject& object,
                     int frames, std::vector<unsigned char>& samples);

}  // namespace orlo::sonrel::detail
