// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdlib>
#include <mutex>

#include "sonrel/base/Timing.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel {

namespace {

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
    const std::lock_guard guard(impl_->meterMutex);
    if (impl_->currentVideoFrame == NO_FRAME || impl_->meterBlockSamples < 1) return {};
    const AudioMixer& mixer = *impl_->owner->Mixer();
    const std::uint64_t heard = BlockHeard(*impl_);
    const std::uint64_t finished = mixer.MeterBlockCount();
    if (finished == 0) return {};
    // The block heard is not finished yet: after a flush, or where the last block is short.
    if (heard >= finished) return mixer.MetricsForBlock(finished - 1);
    // The blocks that went by since the last answer are merged into this one, so that no peak is
    // lost. There are none when the same block, the next one or an earlier one is heard.
    const std::uint64_t last = impl_->lastMeterBlock.exchange(heard);
    return mixer.MetricsForBlocks(last < heard ? last + 1 : heard, heard);
}

}  // namespace orlo::sonrel
