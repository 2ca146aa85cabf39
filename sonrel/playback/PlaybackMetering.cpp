// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "sonrel/contracts/zrtl/Timing.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel {

namespace {

void Merge(AudioTrackMetrics& target, const AudioTrackMetrics& source) {
    target.sampleCount += source.sampleCount;
    for (const int channel : {0, 1}) {
        target.peak[channel] = std::max(target.peak[channel], source.peak[channel]);
        target.clipped[channel] |= source.clipped[channel];
    }
}

void Merge(AudioMetrics& target, const AudioMetrics& source) {
    Merge(target.masterMetrics, source.masterMetrics);
    if (target.trackMetrics.size() != source.trackMetrics.size()) return;
    for (std::size_t track = 0; track < target.trackMetrics.size(); ++track) {
        Merge(target.trackMetrics[track], source.trackMetrics[track]);
    }
}

/// The meter block of the position that is heard. Reverse runs are metered in the order of mixing,
/// so that the distance from the start counts whichever way a run goes.
std::uint64_t BlockHeard(const PlaybackEngineImpl& engine) {
    const long long position =
        zrtl::FrameToSample(engine.currentVideoFrame, engine.sampleRate, engine.frameRate);
    return static_cast<std::uint64_t>(std::llabs(position - engine.startSample) /
                                      engine.meterBlockSamples);
}

}  // namespace

void PlaybackEngine::AddMeterObserver(AbstractAudioMeterObserver* observer) {
    impl_->meterObservers.push_back(observer);
}

void PlaybackEngine::RemoveMeterObserver(AbstractAudioMeterObserver* observer) {
    std::erase(impl_->meterObservers, observer);
}

AudioMetrics PlaybackEngine::CurrentPlaybackMetrics() const {
    if (impl_->currentVideoFrame == NO_FRAME || impl_->meterBlockSamples < 1) return {};
    const AudioMixer& mixer = *impl_->owner->Mixer();
    const std::uint64_t heard = BlockHeard(*impl_);
    const std::uint64_t finished = mixer.MeterBlockCount();
    if (finished == 0) return {};
    // The block heard is not finished yet: after a flush, or where the last block is short.
    if (heard >= finished) return mixer.MetricsForBlock(finished - 1);
    AudioMetrics metrics = mixer.MetricsForBlock(heard);
    // No peak of the blocks that went by since the last answer may be lost. At the first block, and
    // where the answer lies at the same block, the next one or before, there are none.
    const std::uint64_t last = impl_->lastMeterBlock.exchange(heard);
    for (std::uint64_t block = last + 1; block < heard; ++block) {
        Merge(metrics, mixer.MetricsForBlock(block));
    }
    return metrics;
}

}  // namespace orlo::sonrel
