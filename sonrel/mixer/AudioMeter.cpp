// SPDX-License-Identifier: MIT
#include "sonrel/mixer/AudioMeter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "sonrel/mixer/detail/AudioMeterAccess.h"
#include "sonrel/mixer/detail/AudioMeterImpl.h"

namespace orlo::sonrel {

using zrtl::thread::ZRScopedLock;

namespace {

// Takes @p frames frames into the block. Every comparison is false for a NaN, which therefore
// leaves the block as it was.
void ScanFrames(const float* samples, int frames, AudioTrackMetrics& block) {
    for (int i = 0; i < frames; ++i) {
        for (int channel = 0; channel < 2; ++channel) {
            const float value = samples[2 * i + channel];
            if (std::fabs(value) > block.peak[channel]) block.peak[channel] = std::fabs(value);
            if (value < -1.0f || value >= 1.0f) block.clipped[channel] = true;
        }
    }
}

}  // namespace

AudioMeter::AudioMeter() : impl_(std::make_unique<AudioMeterImpl>()) {}
AudioMeter::~AudioMeter() = default;
AudioMeter::AudioMeter(AudioMeter&&) noexcept = default;
AudioMeter& AudioMeter::operator=(AudioMeter&&) noexcept = default;

void AudioMeter::StartMeterSession(int blockFrames) {
    if (blockFrames < 1) return;
    const ZRScopedLock guard(impl_->lock);
    impl_->blockFrames = blockFrames;
    impl_->blocks.clear();
    impl_->currentBlock = AudioTrackMetrics();
    impl_->active.exchange(true);
}

void AudioMeter::StopMeterSession() {
    const ZRScopedLock guard(impl_->lock);
    if (!impl_->active) return;
    if (impl_->currentBlock.sampleCount > 0) {
        impl_->blocks.push_back(impl_->currentBlock);
        impl_->currentBlock = AudioTrackMetrics();
    }
    impl_->active.exchange(false);
}

void AudioMeter::Restart() {
    const ZRScopedLock guard(impl_->lock);
    if (!impl_->active) return;
    impl_->blocks.clear();
    impl_->currentBlock = AudioTrackMetrics();
}

void AudioMeter::ProcessSamples(const float* samples, int frames) {
    if (!impl_->active) return;
    AudioTrackMetrics& block = impl_->currentBlock;
    while (frames > 0) {
        const int taken = std::min(frames, impl_->blockFrames - block.sampleCount);
        if (samples != nullptr) {
            ScanFrames(samples, taken, block);
            samples += 2 * static_cast<std::ptrdiff_t>(taken);
        }
        block.sampleCount += taken;
        frames -= taken;
        if (block.sampleCount == impl_->blockFrames) {
            const ZRScopedLock guard(impl_->lock);
            impl_->blocks.push_back(block);
            block = AudioTrackMetrics();
        }
    }
}

unsigned long long AudioMeter::MeterBlockCount() const {
    const ZRScopedLock guard(impl_->lock);
    return impl_->blocks.size();
}

const AudioTrackMetrics& AudioMeter::MetricsForBlock(unsigned long long index) const {
    const ZRScopedLock guard(impl_->lock);
    return impl_->blocks[index];
}

AudioTrackMetrics detail::AudioMeterAccess::CopyBlock(const AudioMeter& meter,
                                                      unsigned long long index) {
    const ZRScopedLock guard(meter.impl_->lock);
    return meter.impl_->blocks[index];
}

}  // namespace orlo::sonrel
