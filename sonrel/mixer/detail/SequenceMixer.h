// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/mixer/detail/PropertyReaders.h"
#include "sonrel/mixer/detail/RenderInBlocks.h"
#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// Mixes a sequence: its tracks, the master level, the meters, the conversion.
class SequenceMixer {
public:
    SequenceMixer(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                  const std::shared_ptr<project::EditorSequence>& sequence);

    /// Mixes a request of up to 60 seconds. Results are as in AudioMixer::GetSamples.
    int Mix(const TimelineRequest& request);

    /// Mixes one block. This one function is the signal path of a sequence: read, resample,
    /// effects, transition, gain, sum, master, meter, dither.
    ///
    /// Objects are selected by the one video frame of the block. Frame borders within the block
    /// have no effect: an object that begins inside a block sounds from the next block on, and an
    /// object that ends inside a block sounds to the end of the block.
    /// @param block      at most one video frame's worth of samples
    /// @param frameRate  of the request: an effect may change the rate of the settings meanwhile
    /// @param output     room for the frames of the block
    /// @return the count of the block, or -3 when it is above one video frame's worth
    int MixBlock(const Block& block, double frameRate, zrtl::StereoFrame* output);

private:
    /// Levels in dB and balance of one track in a block.
    struct TrackGain {
        BlockLevels levels;  ///< object and track, added in dB
        float balance = 0.0f;
    };

    /// Adds the frames that MixBlock converts to 16 bits, with the frames of nested compositions.
    int CountBlock(const Block& block, int videoFrame);
    bool MayPlayComposition(const project::AudioObject& object) const;
    std::shared_ptr<project::AudioObject> FindAudibleObject(project::AudioTrack& track, bool solo,
                                                            int videoFrame) const;
    TrackGain ReadGain(project::AudioTrack& track, project::AudioObject& object,
                       const BlockTimes& times) const;
    BlockLevels ReadMasterLevels(const BlockTimes& times) const;

    AudioMixerImpl& mixer_;
    const std::shared_ptr<project::Project>& project_;
    const std::shared_ptr<project::EditorSequence>& sequence_;
};

}  // namespace orlo::sonrel::detail
