// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackLevels.h"

#include <cstdlib>

#include "sonrel/mixer/AudioMixer.h"

namespace orlo::sonrel::detail {

/// Under the mutex.
void PlaybackLevels::StartSession() {
    if (!AreWanted()) return;
    lastBlock_ = 0;
    mixer_.StartMeterSession(format_.audioTrackCount, format_.meterBlockSamples);
}

void PlaybackLevels::BeginRun(long long startSample) {
    const std::lock_guard guard(mutex_);
    StartSession();
    currentVideoFrame_.exchange(PlaybackEngine::NO_FRAME);
    startSample_ = startSample;
}

void PlaybackLevels::BeginSingleFrame() {
    const std::lock_guard guard(mutex_);
    StartSession();
}

void PlaybackLevels::Restart(long long startSample) {
    if (!AreWanted()) return;
    const std::lock_guard guard(mutex_);
    startSample_ = startSample;
    lastBlock_ = 0;
    mixer_.RestartMeterSession();
}

void PlaybackLevels::End() {
    mixer_.StopMeterSession();
}

/// The meter block of the position that is heard. Reverse runs are metered in the order of mixing,
/// so the distance from the start counts in both directions.
std::uint64_t PlaybackLevels::BlockHeard() const {
    const long long position = format_.SampleOfFrame(currentVideoFrame_);
    return static_cast<std::uint64_t>(std::llabs(position - startSample_) /
                                      format_.meterBlockSamples);
}

AudioMetrics PlaybackLevels::Heard() const {
    const std::lock_guard guard(mutex_);
    if (currentVideoFrame_ == PlaybackEngine::NO_FRAME || format_.meterBlockSamples < 1) return {};
    const std::uint64_t heard = BlockHeard();
    const std::uint64_t finished = mixer_.MeterBlockCount();
    if (finished == 0) return {};
    // The block heard is not finished: after a flush, or where the last block is short.
    if (heard >= finished) return mixer_.MetricsForBlock(finished - 1);
    // The blocks since the last poll are merged, so that no peak is lost. There are none when the
    // same block, the next or an earlier block is heard.
    const std::uint64_t last = lastBlock_.exchange(heard);
    return mixer_.MetricsForBlocks(last < heard ? last + 1 : heard, heard);
}

AudioMetrics PlaybackLevels::OfSingleFrame() const {
    return mixer_.MeterBlockCount() > 0 ? mixer_.MetricsForBlock(0) : AudioMetrics();
}

}  // namespace orlo::sonrel::detail
