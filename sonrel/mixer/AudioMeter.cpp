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
    ++impl_->session;
    impl_->active.exchange(true);
}

void AudioMeter::StopMeterSession() {
    const ZRScopedLock guard(impl_->lock);
    if (!impl_->active) return;
    // A block of an earlier session does not belong to this session. The open block stays with the
    // thread that feeds the meter, which begins an empty block in the next session.
    const AudioTrackMetrics last = impl_->currentBlock.Metrics();
    if (impl_->fedSession == impl_->session && last.sampleCount > 0) impl_->blocks.push_back(last);
    impl_->active.exchange(false);
}

void AudioMeter::Restart() {
    const ZRScopedLock guard(impl_->lock);
    if (!impl_->active) return;
    impl_->blocks.clear();
    ++impl_->session;
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
    static const AudioTrackMetrics NO_BLOCK;
    const ZRScopedLock guard(impl_->lock);
    return index < impl_->blocks.size() ? impl_->blocks[index] : NO_BLOCK;
}

namespace detail {

void JoinSession(AudioMeterImpl& meter) {
    const ZRScopedLock guard(meter.lock);
    meter.currentBlock.Clear();
    meter.fedBlockFrames = meter.blockFrames;
    meter.fedSession.store(meter.session);
}

void CountFrames(AudioMeterImpl& meter, int frames, const StereoPeaks& peaks) {
    meter.currentBlock.Count(frames, peaks);
    if (meter.currentBlock.SampleCount() != meter.fedBlockFrames) return;
    const ZRScopedLock guard(meter.lock);
    if (meter.active && meter.fedSession == meter.session) {
        meter.blocks.push_back(meter.currentBlock.Metrics());
    }
    meter.currentBlock.Clear();
}

AudioTrackMetrics AudioMeterAccess::MergedBlocks(const AudioMeter& meter, unsigned long long first,
                                                 unsigned long long last) {
    const ZRScopedLock guard(meter.impl_->lock);
    const auto& blocks = meter.impl_->blocks;
    AudioTrackMetrics merged;
    for (unsigned long long i = first; i <= last && i < blocks.size(); ++i) {
        merged.sampleCount += blocks[i].sampleCount;
        for (const int channel : {0, 1}) {
            merged.peak[channel] = std::max(merged.peak[channel], blocks[i].peak[channel]);
            merged.clipped[channel] |= blocks[i].clipped[channel];
        }
    }
    return merged;
}

int AudioMeterAccess::RunningBlockFrames(const AudioMeter& meter) {
    const ZRScopedLock guard(meter.impl_->lock);
    return meter.impl_->active ? meter.impl_->blockFrames : 0;
}

AudioMeterImpl& AudioMeterAccess::Record(AudioMeter& meter) {
    return *meter.impl_;
}

}  // namespace detail
}  // namespace orlo::sonrel
