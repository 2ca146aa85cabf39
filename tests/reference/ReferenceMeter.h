// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <vector>

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel::reference {

/// The reference of a meter: the documented rules, one frame after the other. ProcessSamples is not
/// inlined, like a member of an exported class.
class AudioMeter {
public:
    void StartMeterSession(int blockFrames) {
        if (blockFrames < 1) return;
        const std::lock_guard<std::mutex> guard(lock_);
        blockFrames_ = blockFrames;
        blocks_.clear();
        current_ = AudioTrackMetrics();
        active_ = true;
    }

    [[gnu::noinline]] void ProcessSamples(const float* samples, int frames) {
        if (!active_ || 2LL * frames < 1) return;
        for (std::ptrdiff_t i = 0; i < frames; ++i) {
            if (samples != nullptr) {
                Measure(samples[2 * i], 0);
                Measure(samples[2 * i + 1], 1);
            }
            ++current_.sampleCount;
            if (current_.sampleCount == blockFrames_) {
                const std::lock_guard<std::mutex> guard(lock_);
                blocks_.push_back(current_);
                current_ = AudioTrackMetrics();
            }
        }
    }

    const std::vector<AudioTrackMetrics>& Blocks() const { return blocks_; }
    const AudioTrackMetrics& Current() const { return current_; }

private:
    void Measure(float value, int channel) {
        const float magnitude = std::fabs(value);
        if (magnitude > current_.peak[channel]) current_.peak[channel] = magnitude;
        if (value < -1.0f || value >= 1.0f) current_.clipped[channel] = true;
    }

    std::atomic<bool> active_{false};
    int blockFrames_ = 0;
    std::vector<AudioTrackMetrics> blocks_;
    std::mutex lock_;
    AudioTrackMetrics current_;
};

}  // namespace orlo::sonrel::reference
