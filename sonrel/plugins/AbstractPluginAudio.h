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
/// For each block the engine first asks the effects of a chain, last to first, which input each
/// needs, then runs them first to last on one shared buffer. Blocks come in any order: an effect
/// that remembers an earlier block remembers the wrong one after a seek.
class SONREL_EXPORT AbstractPluginAudio : public AbstractPlugin {
public:
    AbstractPluginAudio() = default;
    AbstractPluginAudio(const AbstractPluginAudio&) = default;
    AbstractPluginAudio(AbstractPluginAudio&&) = default;
    AbstractPluginAudio& operator=(const AbstractPluginAudio&) = default;
    AbstractPluginAudio& operator=(AbstractPluginAudio&&) = default;

    /// Says which input samples the effect needs for a range of output.
    /// @param instance       the use of the effect
    /// @param channels       always 2
    /// @param sampleRate     hertz
    /// @param bitsPerSample  always 16
    /// @param sampleCount    sample frames to deliver
    /// @param timelineMs     start of the range on the timeline, milliseconds
    /// @param startMs        start of the range from the object's start, milliseconds
    /// @param endMs          end of the range from the object's start, milliseconds
    /// @param firstSample    first sample to deliver, counted from the object's start
    /// @param objectOffset   minus the in-point: where the source's first sample lies, counted from
    ///                       the object's start. A range that begins before it silences the object
    /// @param ranges         empty; put the needed range in as the first element, or leave it empty
    ///                       when the range to deliver is all that is needed
    /// @param previewing     the chain stops before some effect
    /// @return not used
    virtual int RequiredRanges(EffectInstance* instance, int channels, int sampleRate,
                               int bitsPerSample, int sampleCount, int timelineMs, int startMs,
                               int endMs, long long firstSample, long long objectOffset,
                               std::vector<SampleRange>* ranges, bool previewing) = 0;

    /// Runs the effect.
    /// @param samples           the input from its beginning; the output goes to its beginning.
    ///                          Room for the longest range of the whole chain
    /// @param inputCount        sample frames of input
    /// @param outputCount       sample frames to leave
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
