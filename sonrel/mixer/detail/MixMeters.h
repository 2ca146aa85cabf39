// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "sonrel/mixer/AudioMeter.h"
#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel::detail {

/// The meters of one session.
struct MeterSet {
    std::shared_ptr<AudioMeter> master;
    std::vector<std::shared_ptr<AudioMeter>> tracks;  ///< in track order

    /// The meter of a track; null for a track that came after the session started.
    AudioMeter* Track(std::size_t index) const {
        return index < tracks.size() ? tracks[index].get() : nullptr;
    }

    /// Feeds silence to the meters of tracks that have left the sequence, so that all meters of the
    /// session advance alike.
    void FeedRemovedTracks(std::size_t trackCount, int frames) const;
};

/// The metering sessions of a mixer.
///
/// Each start and each restart makes new meters. A block of the mix takes the meters once, at its
/// beginning, and keeps them alive until its end: a session that starts meanwhile gets nothing of
/// that block, so that its meters stay in step.
///
/// Threads: any thread may call anything at any time. The lock covers whole operations, so that no
/// reader sees one half of a session's meters started or stopped and the other half not.
class MixMeters {
public:
    MixMeters();

    /// As AudioMixer::StartMeterSession.
    void Start(std::size_t trackCount, int blockFrames);
    /// As AudioMixer::StopMeterSession.
    void Stop();
    /// As AudioMixer::RestartMeterSession.
    void Restart();

    /// The meters that a block of the mix feeds; null outside a session.
    std::shared_ptr<const MeterSet> ForMixBlock() const;

    /// Finished blocks of the master meter.
    unsigned long long BlockCount() const;
    /// As AudioMixer::MetricsForBlocks.
    AudioMetrics Blocks(unsigned long long first, unsigned long long last) const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const MeterSet> set_;  ///< guarded by mutex_; never null
    std::atomic<bool> active_ = false;     ///< written under mutex_
};

}  // namespace orlo::sonrel::detail
