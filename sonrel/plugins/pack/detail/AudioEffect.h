// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"

namespace orlo::sonrel::detail {

/// One block as an effect of the pack sees it.
struct EffectBlock {
    int rate = 0;  ///< hertz
    /// The input, to be overwritten by the output. Room for lookBack + outputCount frames.
    unsigned char* samples = nullptr;
    int inputCount = 0;         ///< frames of input; what would follow counts as silence
    int outputCount = 0;        ///< frames to leave
    long long firstSample = 0;  ///< first frame of the output, counted from the object's start
    long long lookBack = 0;     ///< frames of input that lie before the first frame of the output
};

/// What the effects of the pack have in common: a range of input that ends with the output and
/// begins a fixed number of frames before it, or at the source's first sample where that is nearer.
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
    /// Frames before the output that the effect wants to hear.
    virtual long long LookBack(int rate) const;

    /// Turns the input of a block into its output.
    virtual void Run(const EffectBlock& block) const = 0;
};

}  // namespace orlo::sonrel::detail
