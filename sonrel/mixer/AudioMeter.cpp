// SPDX-License-Identifier: MIT
#include "sonrel/mixer/AudioMeter.h"

#include <algorithm>
#include <cstddef>
#include <deque>

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
namespace {

/// Takes the greater peaks and any clipping of another block.
void RaiseTo(AudioTrackMetrics& block, const AudioTrackMetrics& other) {
    for (const int channel : {0, 1}) {
        block.peak[channel] = std::max(block.peak[channel], other.peak[channel]);
        block.clipped[channel] |= other.clipped[channel];
    }
}

}  // namespace

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
        RaiseTo(merged, blocks[i]);
    }
    return merged;
}

void AudioMeterAccess::AddBlocks(AudioMeter& meter, const AudioMeter& other) {
    // The locks of two meters are never held at the same time.
    std::deque<AudioTrackMetrics> added;
    {
        const ZRScopedLock guard(other.impl_->lock);
        added = other.impl_->blocks;
    }
    const ZRScopedLock guard(meter.impl_->lock);
    auto& blocks = meter.impl_->blocks;
    if (blocks.size() < added.size()) blocks.resize(added.size());
    for (std::size_t i = 0; i < added.size(); ++i) {
        blocks[i].sampleCount = std::max(blocks[i].sampleCount, added[i].sampleCount);
        RaiseTo(blocks[i], added[i]);
    }
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
