// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/MixBlockPool.h"
#include "sonrel/project/AudioVideoSettings.h"

/// What sequence and composition requests have in common: the checks and the cutting into blocks.
namespace orlo::sonrel::detail {

constexpr int OUT_OF_RANGE = -1;
constexpr int TOO_LONG = -3;
constexpr int RATE_TOO_HIGH = -4;

constexpr int MAX_OVERRIDE_RATE = 96000;
constexpr unsigned int MAX_REQUEST_SECONDS = 60;

/// Checks a request and runs it block by block, from @p start in steps of exactly one video frame's
/// worth of samples; the last block is the remainder. Blocks are not aligned to video frames, and
/// their cuts can be heard in level ramps, so they are not balanced either.
///
/// Length, sample rate and frame rate are read once, before the first block: a change that an
/// effect makes to them takes hold with the next request.
/// @param mixBlock  int(long long start, int count, short* output, int rate, double frameRate)
/// @return @p count or a negative code; nothing is written on a negative one
template <class MixBlock>
int WalkBlocks(const project::AudioVideoSettings& settings, long long start, int count,
               unsigned char* buffer, int rateOverride, int sampleRate, const MixBlock& mixBlock) {
    const bool overridden = (rateOverride & 1) != 0;
    if (overridden && sampleRate > MAX_OVERRIDE_RATE) return RATE_TOO_HIGH;
    const int rate = overridden ? sampleRate : settings.AudioSampleRateValue();
    const double frameRate = settings.FrameRate();

    const long long total = zrtl::TotalSamples(settings.FrameCount(), rate, frameRate);
    const int samplesPerFrame = zrtl::SamplesPerFrame(rate, frameRate);
    if (start < 0 || start > total || count < 1 || count > total - start) return OUT_OF_RANGE;
    const auto longest =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(rate) * MAX_REQUEST_SECONDS);
    if (count > longest) return TOO_LONG;
    // A video frame without a sample would never get on, and a block has an end.
    if (samplesPerFrame < 1 || samplesPerFrame > MixBlockPool::BLOCK_FRAMES) return TOO_LONG;

    auto* output = reinterpret_cast<short*>(buffer);
    int done = 0;
    while (done < count) {
        const int chunk = count - done < samplesPerFrame ? count - done : samplesPerFrame;
        const int mixed = mixBlock(start + done, chunk, output + 2 * done, rate, frameRate);
        if (mixed < 1) return mixed;
        done += mixed;
    }
    return done;
}

}  // namespace orlo::sonrel::detail
