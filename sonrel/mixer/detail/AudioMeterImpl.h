// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <vector>

#include "sonrel/contracts/zrtl/ZRCriticalSection.h"
#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

struct AudioMeterImpl {
    std::atomic<bool> active{false};
    int blockFrames = 0;                           // 0 until the first session
    std::vector<AudioTrackMetrics> blocks;         // finished, in time order
    mutable zrtl::thread::ZRCriticalSection lock;  // guards blocks
    AudioTrackMetrics currentBlock;                // belongs to the thread that feeds the meter
};

}  // namespace orlo::sonrel
