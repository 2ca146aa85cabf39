// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/EditorSequence.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The sequence or the composition that a mix renders.
///
/// Threads: any, each with a separate mixer.
class MixSource {
public:
    MixSource() = default;
    MixSource(std::shared_ptr<project::Project> project,
              std::shared_ptr<project::EditorSequence> sequence);
    MixSource(std::shared_ptr<project::Project> project,
              std::shared_ptr<project::CompositionAsset> composition);

    /// Mixes @p count samples, starting at @p position, into a buffer.
    /// @return count, or the error code of the mixer
    int Mix(const sonrel::AudioMixer& mixer, long long position, int count,
            unsigned char* buffer) const;

    /// As AudioMixer::NoiseSamples of the same range. Immediate where nothing is nested.
    long long NoiseSamples(const sonrel::AudioMixer& mixer, long long position, int count) const;

private:
    std::shared_ptr<project::Project> project_;
    std::shared_ptr<project::EditorSequence> sequence_;  ///< null for a composition
    std::shared_ptr<project::CompositionAsset> composition_;
    bool playsCompositions_ = false;  ///< inside the sequence or composition
};

}  // namespace orlo::host
