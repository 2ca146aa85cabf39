// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// Renders an audio object with its speed and effects, without level and balance.
/// @param start         first sample on the sequence's timeline
/// @param samples       resized to the longest range that the effects need; bytes that it already
///                      held stay where nothing is written over them
/// @param stopAtEffect  the effect before which the chain ends; null runs all
/// @return samples valid at the beginning of @p samples: with effects all that were asked for, else
///         as many as the source gave; -1 when there is nothing
int RenderAudioObject(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                      const std::shared_ptr<project::EditorSequence>& sequence,
                      const std::shared_ptr<project::AudioObject>& object, long long start,
                      int count, int rate, std::vector<unsigned char>& samples,
                      const zrtl::ZRID& stopAtEffect);

/// Renders a layer in the same way, on the timeline of the composition that holds it.
int RenderLayer(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                const std::shared_ptr<project::AbstractLayer>& layer, long long start, int count,
                int rate, std::vector<unsigned char>& samples, const zrtl::ZRID& stopAtEffect);

}  // namespace orlo::sonrel::detail
