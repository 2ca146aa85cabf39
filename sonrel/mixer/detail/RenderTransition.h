// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/mixer/detail/Block.h"
#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// One block of one track, between the rendering of its object and the levels.
struct TrackBlock {
    AudioMixerImpl& mixer;
    const std::shared_ptr<project::Project>& project;
    const std::shared_ptr<project::EditorSequence>& sequence;
    project::AudioTrack& track;
    const Block& block;
    int videoFrame = 0;  ///< the one video frame of the block
};

/// Runs the transition that contains the block's video frame, if any, over the samples of the
/// object.
///
/// An incoming transition takes precedence and has no lower bound, an outgoing transition has no
/// upper bound: an object so short that both apply gets the incoming transition only.
/// @param frames   samples that the rendering of the object delivered
/// @param samples  those samples; the plugin replaces them with the blend
void RenderTransition(const TrackBlock& trackBlock, project::AudioObject& object, int frames,
                      std::vector<unsigned char>& samples);

}  // namespace orlo::sonrel::detail
