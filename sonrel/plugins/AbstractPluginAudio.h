// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/AbstractPlugin.h"
#include "sonrel/plugins/SampleRange.h"

namespace orlo::project {

class EffectInstance;

/// An audio effect. It works in place on interleaved stereo signed 16-bit samples, four bytes to a
/// sample frame, left first.
///
/// For each block the engine first calls RequiredRanges of the effects of a chain, from the last to
/// the first, and then ProcessAudio from the first to the last, on one shared buffer. Blocks come
/// in any order: an effect that keeps state from an earlier block has the wrong state after a seek.
class SONREL_EXPORT AbstractPluginAudio : public AbstractPlugin {
public:
    AbstractPluginAudio() = default;
    AbstractPluginAudio(const AbstractPluginAudio&) = default;
    AbstractPluginAudio(AbstractPluginAudio&&) = default;
    AbstractPluginAudio& operator=(const AbstractPluginAudio&) = default;
    AbstractPluginAudio& operator=(AbstractPluginAudio&&) = default;

    /// Returns the range of input that the effect needs for a range of output.
    /// @param instance       the instance of the effect
    /// @param channels       always 2
    /// @param sampleRate     hertz
    /// @param bitsPerSample  always 16
    /// @param sampleCount    sample frames to deliver
    /// @param timelineMs     start of the range on the timeline, milliseconds
    /// @param startMs        start of the range from the object's start, milliseconds
    /// @param endMs          end of the range from the object's start, milliseconds
    /// @param firstSample    first sample to deliver, counted from the object's start
    /// @param objectOffset   minus the in-point: the position of the first sample of the source,
    ///                       counted from the object's start. A range that begins before it
    ///                       silences the object
    /// @param ranges         empty; add the needed range as the first element, or leave it empty
    ///                       when the effect needs only the range to deliver
    /// @param previewing     true when the chain stops before an effect
    /// @return not used
    virtual int RequiredRanges(EffectInstance* instance, int channels, int sampleRate,
                               int bitsPerSample, int sampleCount, int timelineMs, int startMs,
                               int endMs, long long firstSample, long long objectOffset,
                               std::vector<SampleRange>* ranges, bool previewing) = 0;

    /// Runs the effect.
    /// @param samples           input and output, both at the beginning of the buffer, which has
    ///                          room for the longest range of the whole chain
    /// @param inputCount        sample frames of input
    /// @param outputCount       sample frames of output
    /// @param timelineMs        start of the output on the timeline, milliseconds
    /// @param startMs           start of the output from the object's start, milliseconds
    /// @param endMs             end of the output from the object's start, milliseconds
    /// @param firstSample       first sample of the output, counted from the object's start
    /// @param inputFirstSample  first sample of the input, counted from the object's start
    /// @return not used
    virtual int ProcessAudio(EffectInstance* instance, int channels, int sampleRate,
                             int bitsPerSample, unsigned char* samples, int inputCount,
                             int outputCount, int timelineMs, int startMs, int endMs,
                             long long firstSample, long long inputFirstSample,
                             long long objectOffset, bool previewing) = 0;
};

}  // namespace orlo::project
