// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <vector>

#include "sonrel/contracts/zrtl/ZRCriticalSection.h"
#include "sonrel/mixer/AudioMetrics.h"
#include "sonrel/mixer/detail/MixKernels.h"

namespace orlo::sonrel {

struct AudioMeterImpl {
    std::atomic<bool> active{false};
    int blockFrames = 0;                           // 0 until the first session
    std::vector<AudioTrackMetrics> blocks;         // finished, in time order
    mutable zrtl::thread::ZRCriticalSection lock;  // guards blocks
    AudioTrackMetrics currentBlock;                // belongs to the thread that feeds the meter
};

namespace detail {

/// Frames that still go into the block being filled: at least 1 in a session.
inline int RoomInBlock(const AudioMeterImpl& meter) {
    return meter.blockFrames - meter.currentBlock.sampleCount;
}

/// Counts frames whose peaks are known into the session.
/// @param frames  at most RoomInBlock()
void CountFrames(AudioMeterImpl& meter, int frames, const StereoPeaks& peaks);

}  // namespace detail
}  // namespace orlo::sonrel
