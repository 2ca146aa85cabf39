// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/AudioEffect.h"

#include <algorithm>
#include <climits>

#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

/// Frames from @p from to @p to, at least 0 and at most @p max, without overflow for any positions.
long long Distance(long long from, long long to, long long max) {
    if (to <= from) return 0;
    long long distance = 0;
    if (__builtin_sub_overflow(to, from, &distance)) return max;
    return std::min(distance, max);
}

/// The sum of a position and a length, limited to the positions that exist.
long long After(long long position, long long length) {
    long long end = 0;
    return __builtin_add_overflow(position, length, &end) ? LLONG_MAX : end;
}

bool IsKnownFormat(int channels, int sampleRate, int bitsPerSample) {
    return channels == CHANNELS && bitsPerSample == BITS_PER_SAMPLE && sampleRate > 0;
}

}  // namespace

int AudioEffect::PluginKind() const {
    return AUDIO_PLUGIN;
}

long long AudioEffect::LookBack(int, long long) const {
    return 0;
}

long long AudioEffect::LookAhead(int, long long) const {
    return 0;
}

int AudioEffect::RequiredRanges(project::EffectInstance*, int channels, int sampleRate,
                                int bitsPerSample, int sampleCount, int, int, int,
                                long long firstSample, long long objectOffset,
                                std::vector<project::SampleRange>* ranges, bool) {
    if (!IsKnownFormat(channels, sampleRate, bitsPerSample)) return UNKNOWN_FORMAT;
    // A range that begins before the source would silence the whole object.
    const long long lookBack =
        Distance(objectOffset, firstSample, LookBack(sampleRate, firstSample));
    const long long end = After(firstSample, sampleCount);
    const long long lookAhead = LookAhead(sampleRate, end);
    if (lookBack == 0 && lookAhead == 0) return DONE;
    ranges->push_back({firstSample - lookBack, After(end, lookAhead)});
    return DONE;
}

int AudioEffect::ProcessAudio(project::EffectInstance*, int channels, int sampleRate,
                              int bitsPerSample, unsigned char* samples, int inputCount,
                              int outputCount, int, int, int, long long firstSample,
                              long long inputFirstSample, long long, bool) {
    if (!IsKnownFormat(channels, sampleRate, bitsPerSample)) return UNKNOWN_FORMAT;
    if (outputCount < 1) return DONE;
    EffectBlock block;
    block.rate = sampleRate;
    block.samples = samples;
    block.inputCount = std::max(inputCount, 0);
    block.outputCount = outputCount;
    block.firstSample = firstSample;
    block.lookBack = Distance(inputFirstSample, firstSample, LookBack(sampleRate, firstSample));
    Run(block);
    return DONE;
}

}  // namespace orlo::sonrel::detail
