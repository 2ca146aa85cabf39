// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"

namespace orlo::sonrel::detail {

/// One block of an effect of the pack.
struct EffectBlock {
    int rate = 0;  ///< hertz
    /// The input, which the output overwrites. Has room for lookBack + outputCount frames.
    unsigned char* samples = nullptr;
    int inputCount = 0;         ///< frames of input, those after the output included; then silence
    int outputCount = 0;        ///< frames of output
    long long firstSample = 0;  ///< first frame of the output, from the start of the object
    long long lookBack = 0;     ///< frames of input before the first frame of the output
};

/// The base of the effects of the pack. The range of input begins a number of frames before the
/// output, or at the first sample of the source if that is later, and ends with the output or a
/// number of frames after it.
class AudioEffect : public project::AbstractPluginAudio {
public:
    int PluginKind() const final;
    int RequiredRanges(project::EffectInstance* instance, int channels, int sampleRate,
                       int bitsPerSample, int sampleCount, int timelineMs, int startMs, int endMs,
                       long long firstSample, long long objectOffset,
                       std::vector<project::SampleRange>* ranges, bool previewing) final;
    int ProcessAudio(project::EffectInstance* instance, int channels, int sampleRate,
                     int bitsPerSample, unsigned char* samples, int inputCount, int outputCount,
                     int timelineMs, int startMs, int endMs, long long firstSample,
                     long long inputFirstSample, long long objectOffset, bool previewing) final;

protected:
    /// Frames of input that the effect needs before the output.
    /// @param firstSample  first frame of the output, from the start of the object
    virtual long long LookBack(int rate, long long firstSample) const;

    /// Frames of input that the effect needs after the output.
    /// @param endSample  end of the output, from the start of the object
    virtual long long LookAhead(int rate, long long endSample) const;

    /// Computes the output of a block from its input.
    virtual void Run(const EffectBlock& block) const = 0;
};

}  // namespace orlo::sonrel::detail
