// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPlugin.h"

namespace orlo::project {

class Transition;

/// A transition between two neighbouring objects on an audio track. The mix has no fade law: the
/// plugin writes the blend into the buffer of the object that the block shows.
class SONREL_EXPORT AbstractPluginAudioTransition : public AbstractPlugin {
public:
    AbstractPluginAudioTransition() = default;
    AbstractPluginAudioTransition(const AbstractPluginAudioTransition&) = default;
    AbstractPluginAudioTransition(AbstractPluginAudioTransition&&) = default;
    AbstractPluginAudioTransition& operator=(const AbstractPluginAudioTransition&) = default;
    AbstractPluginAudioTransition& operator=(AbstractPluginAudioTransition&&) = default;

    /// Blends one block. All buffers are interleaved stereo signed 16-bit samples.
    /// @param instance       the transition
    /// @param direction      1 when the transition enters the object of the block, 2 when it leaves
    ///                       it
    /// @param channels       always 2
    /// @param sampleRate     hertz
    /// @param bitsPerSample  always 16
    /// @param fromSamples    the object that ends, or null
    /// @param fromCount      its sample frames; 0 or below with a null pointer
    /// @param toSamples      the object that begins, or null
    /// @param toCount        its sample frames; 0 or below with a null pointer
    /// @param output         the buffer of the object of the block: @p fromSamples or @p toSamples
    /// @param outputCount    sample frames of the object of the block
    /// @param positionMs     from the transition's start to the video frame of the block,
    ///                       milliseconds: all blocks of one frame have the same position
    /// @param lengthMs       the transition's length, milliseconds
    /// @param lengthSamples  the transition's length, sample frames
    /// @param joinOffsetMs   from the transition's start to the join, milliseconds
    /// @return not used
    virtual int ProcessTransition(Transition* instance, int direction, int channels, int sampleRate,
                                  int bitsPerSample, unsigned char* fromSamples, int fromCount,
                                  unsigned char* toSamples, int toCount, unsigned char* output,
                                  int outputCount, int positionMs, int lengthMs, int lengthSamples,
                                  int joinOffsetMs) = 0;
};

}  // namespace orlo::project
