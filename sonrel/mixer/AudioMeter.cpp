// SPDX-License-Identifier: MIT
#include "sonrel/mixer/AudioMeter.h"

#include <algorithm>
#include <cstddef>

#include "sonrel/mixer/detail/AudioMeterAccess.h"
#include "sonrel/mixer/detail/AudioMeterImpl.h"

namespace orlo::sonrel {

using zrtl::thread::ZRScopedLock;

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
    while (frames > 0) {
        const int taken = std::min(frames, detail::RoomInBlock(*impl_));
        detail::StereoPeaks peaks;
        if (samples != nullptr) {
            detail::ScanPeaks(samples, taken, peaks);
            samples += 2 * static_cast<std::ptrdiff_t>(taken);
        }
        detail::CountFrames(*impl_, taken, peaks);
        frames -= taken;
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

namespace detail {

void CountFrames(AudioMeterImpl& meter, int frames, const StereoPeaks& peaks) {
    AudioTrackMetrics& block = meter.currentBlock;
    for (const int channel : {0, 1}) {
        block.peak[channel] = std::max(block.peak[channel], peaks.peak[channel]);
        block.clipped[channel] |= peaks.clipped[channel];
    }
    block.sampleCount += frames;
    if (block.sampleCount != meter.blockFrames) return;
    const ZRScopedLock guard(meter.lock);
    meter.blocks.push_back(block);
    block = AudioTrackMetrics();
}

AudioTrackMetrics AudioMeterAccess::CopyBlock(const AudioMeter& meter, unsigned long long index) {
    const ZRScopedLock guard(meter.impl_->lock);
    return meter.impl_->blocks[index];
}

AudioMeterImpl& AudioMeterAccess::Record(AudioMeter& meter) {
    return *meter.impl_;
}

}  // namespace detail
}  // namespace orlo::sonrel
