// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/mixer/detail/RenderInBlocks.h"
#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// Whether a composition may feed the master meter. A composition that is read as a source of
/// another mix does not.
enum class Metering { Off, Allowed };

/// Mixes a composition: its layers, the master meter, the conversion.
class CompositionMixer {
public:
    CompositionMixer(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                     const std::shared_ptr<project::CompositionAsset>& composition,
                     Metering metering);

    /// Mixes a request of up to 60 seconds. Results are as in AudioMixer::GetSamples.
    int Mix(const TimelineRequest& request);

    /// Mixes one block. Layers are selected by the one video frame of the block, as objects are.
    /// @param block      at most one video frame's worth of samples
    /// @param frameRate  of the request: an effect may change the rate of the settings meanwhile
    /// @param output     room for the frames of the block
    /// @return the count of the block, or -3 when it is above one video frame's worth
    int MixBlock(const Block& block, double frameRate, zrtl::StereoFrame* output);

private:
    /// Adds the frames that MixBlock converts to 16 bits, with the frames of nested compositions.
    int CountBlock(const Block& block, int videoFrame);
    bool Sounds(const project::AbstractLayer& layer, int videoFrame) const;

    AudioMixerImpl& mixer_;
    const std::shared_ptr<project::Project>& project_;
    const std::shared_ptr<project::CompositionAsset>& composition_;
    const Metering metering_;
};

}  // namespace orlo::sonrel::detail
