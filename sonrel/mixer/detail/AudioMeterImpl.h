// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <deque>

#include "sonrel/base/ZRCriticalSection.h"
#include "sonrel/mixer/AudioMetrics.h"
#include "sonrel/mixer/detail/MixKernels.h"

namespace orlo::sonrel {

namespace detail {

/// The block being filled. One thread writes it. A stop on another thread may read it meanwhile: it
/// may or may not see the frames that are just being counted.
class OpenBlock {
public:
    int SampleCount() const { return sampleCount_.load(std::memory_order_relaxed); }

    void Count(int frames, const StereoPeaks& peaks) {
        for (const int channel : {0, 1}) {
            Update(peak_[channel],
                   std::max(peak_[channel].load(std::memory_order_relaxed), peaks.peak[channel]));
            if (peaks.clipped[channel]) Update(clipped_[channel], true);
        }
        Update(sampleCount_, SampleCount() + frames);
    }

    void Clear() {
        for (const int channel : {0, 1}) {
            Update(peak_[channel], 0.0f);
            Update(clipped_[channel], false);
        }
        Update(sampleCount_, 0);
    }

    AudioTrackMetrics Metrics() const {
        AudioTrackMetrics metrics;
        metrics.sampleCount = SampleCount();
        for (const int channel : {0, 1}) {
            metrics.peak[channel] = peak_[channel].load(std::memory_order_relaxed);
            metrics.clipped[channel] = clipped_[channel].load(std::memory_order_relaxed);
        }
        return metrics;
    }

private:
    template <class T>
    static void Update(std::atomic<T>& value, T to) {
        value.store(to, std::memory_order_relaxed);
    }

    std::atomic<int> sampleCount_ = 0;
    std::atomic<float> peak_[2] = {};
    std::atomic<bool> clipped_[2] = {};
};

}  // namespace detail

/// The record of a meter.
///
/// A session may start, stop or restart while another thread feeds the meter. So only the feeding
/// thread writes the open block, together with the session that the block belongs to: frames of a
/// session that has ended meanwhile are dropped.
struct AudioMeterImpl {
    std::atomic<bool> active{false};
    int blockFrames = 0;                           // guarded by lock; 0 until the first session
    std::deque<AudioTrackMetrics> blocks;          // finished, in time order; guarded by lock
    mutable zrtl::thread::ZRCriticalSection lock;  // held by every session call and every read
    std::atomic<unsigned int> session = 0;         // number of starts and restarts; written in lock

    // Written by the thread that feeds the meter; cleared and joined in lock.
    detail::OpenBlock currentBlock;
    std::atomic<unsigned int> fedSession = 0;  // the session that currentBlock belongs to
    int fedBlockFrames = 0;                    // its block length
};

namespace detail {

/// Begins an empty block in the session that runs now.
void JoinSession(AudioMeterImpl& meter);

/// The remaining frames of the block being filled: at least 1 once a session has started. For the
/// thread that feeds the meter.
inline int RoomInBlock(AudioMeterImpl& meter) {
    if (meter.session.load(std::memory_order_acquire) !=
        meter.fedSession.load(std::memory_order_relaxed)) {
        JoinSession(meter);
    }
    return meter.fedBlockFrames - meter.currentBlock.SampleCount();
}

/// Counts frames whose peaks are known into the session. For the thread that feeds the meter.
/// @param frames  at most the result of the RoomInBlock() call before
void CountFrames(AudioMeterImpl& meter, int frames, const StereoPeaks& peaks);

}  // namespace detail
}  // namespace orlo::sonrel
