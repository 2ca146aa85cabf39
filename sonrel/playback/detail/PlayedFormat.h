// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/playback/detail/PlaybackTarget.h"

namespace orlo::sonrel::detail {

/// The format that the engine is set up for.
///
/// Threads: written by the command thread. The atomic members may change during a run: a set-up
/// that is refused for its sample rate leaves the worker at work.
struct PlayedFormat {
    int channelCount = 0;             // 2 once set up
    std::atomic<int> sampleRate = 0;  // hertz
    std::atomic<double> frameRate = 0.0;
    std::atomic<long long> totalSamples = 0;
    std::uint64_t audioTrackCount = 0;  // tracks to meter
    int meterBlockSamples = 0;          // 0 for a media asset

    void Set(const TargetFormat& format) {
        channelCount = format.channelCount;
        sampleRate = format.sampleRate;
        totalSamples = format.totalSamples;
        frameRate = format.frameRate;
        audioTrackCount = format.trackCount;
        meterBlockSamples = format.meterBlockSamples;
    }
    TargetFormat Get() const {
        return {channelCount, sampleRate,      frameRate,
                totalSamples, audioTrackCount, meterBlockSamples};
    }

    /// The sample at which a video frame begins.
    long long SampleOfFrame(int frame) const {
        return zrtl::FrameToSample(frame, sampleRate, frameRate);
    }
    /// The video frame of a position: position / sampleRate * frameRate, truncated. Because it is
    /// truncated and not rounded, the first sample of a frame can belong to the frame before: frame
    /// 29 at 25 frames per second and 48000 Hz begins at sample 55680, whose frame is 28.
    int VideoFrameAt(long long position) const {
        return zrtl::TruncToInt32(static_cast<double>(position) / sampleRate * frameRate);
    }
};

}  // namespace orlo::sonrel::detail
