// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/Block.h"
#include "sonrel/mixer/detail/MixBlockPool.h"
#include "sonrel/project/AudioVideoSettings.h"

/// The part that sequence and composition requests share: the checks and the division into blocks.
namespace orlo::sonrel::detail {

constexpr int OUT_OF_RANGE = -1;
constexpr int TOO_LONG = -3;
constexpr int RATE_TOO_HIGH = -4;

constexpr int MAX_OVERRIDE_RATE = 96000;
constexpr unsigned int MAX_REQUEST_SECONDS = 60;

/// The arguments of a request for the mix of a sequence or composition.
struct TimelineRequest {
    long long timelineStart = 0;
    int count = 0;                        ///< stereo frames
    zrtl::StereoFrame* output = nullptr;  ///< null: nothing is rendered
    int rateOverride = 0;  ///< lowest bit set: the rate is sampleRate, not that of the settings
    int sampleRate = 0;
};

/// Checks a request and mixes it block by block, from its start in steps of exactly one video
/// frame's worth of samples. The last block is the remainder. Blocks are not aligned to video
/// frames. Their borders are audible in level ramps, so blocks are not balanced in length either.
///
/// Length, sample rate and frame rate are read once, before the first block: a change that an
/// effect makes to them applies from the next request on.
/// @param mixer  has int MixBlock(const Block&, double frameRate, zrtl::StereoFrame* output)
/// @return the count of the request or a negative code; nothing is written on a negative code
template <class Mixer>
int RenderInBlocks(const project::AudioVideoSettings& settings, const TimelineRequest& request,
                   Mixer& mixer) {
    const bool overridden = (request.rateOverride & 1) != 0;
    if (overridden && request.sampleRate > MAX_OVERRIDE_RATE) return RATE_TOO_HIGH;
    const int rate = overridden ? request.sampleRate : settings.AudioSampleRateValue();
    const double frameRate = settings.FrameRate();

    const long long timelineStart = request.timelineStart;
    const int count = request.count;
    const long long total = zrtl::TotalSamples(settings.FrameCount(), rate, frameRate);
    const int samplesPerFrame = zrtl::SamplesPerFrame(rate, frameRate);
    if (timelineStart < 0 || timelineStart > total) return OUT_OF_RANGE;
    if (count < 1 || count > total - timelineStart) return OUT_OF_RANGE;
    const auto maxCount =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(rate) * MAX_REQUEST_SECONDS);
    if (count > maxCount) return TOO_LONG;
    // A video frame without a sample would make no progress, and a block has a maximum length.
    if (samplesPerFrame < 1 || samplesPerFrame > MixBlockPool::BLOCK_FRAMES) return TOO_LONG;

    int done = 0;
    while (done < count) {
        const Block block{timelineStart + done, std::min(count - done, samplesPerFrame), rate};
        zrtl::StereoFrame* const output = request.output ? request.output + done : nullptr;
        const int mixed = mixer.MixBlock(block, frameRate, output);
        if (mixed < 1) return mixed;
        done += mixed;
    }
    return done;
}

}  // namespace orlo::sonrel::detail
