// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "sonrel/mixer/AudioMeter.h"
#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel::detail {

/// The meters of one session.
struct MeterSet {
    std::shared_ptr<AudioMeter> master;
    std::vector<std::shared_ptr<AudioMeter>> tracks;  ///< in track order
};

/// The meters that one block of the mix feeds. Outside a session nothing is fed.
class BlockMeters {
public:
    /// @param set  null outside a session
    explicit BlockMeters(std::shared_ptr<const MeterSet> set) : set_(std::move(set)) {}

    /// Whether a session runs.
    bool IsRunning() const { return set_ != nullptr; }
    /// The meter of a track; null outside a session and for a track that was added after the
    /// session started.
    AudioMeter* Track(std::size_t index) const {
        return set_ && index < set_->tracks.size() ? set_->tracks[index].get() : nullptr;
    }
    /// Feeds silence to the meter of a track.
    void FeedSilence(std::size_t index, int frames) const {
        if (AudioMeter* const meter = Track(index)) meter->ProcessSamples(nullptr, frames);
    }
    /// Feeds silence to all meters.
    void FeedSilence(long long frames) const;
    /// Feeds silence to the meters of tracks that have left the sequence, so that all meters of the
    /// session advance equally.
    void FeedRemovedTracks(std::size_t trackCount, int frames) const {
        if (!set_) return;
        for (std::size_t i = trackCount; i < set_->tracks.size(); ++i) FeedSilence(i, frames);
    }
    /// @param sum  2 * frames values, left first
    void FeedMaster(const float* sum, int frames) const {
        if (set_) set_->master->ProcessSamples(sum, frames);
    }

private:
    std::shared_ptr<const MeterSet> set_;
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

    /// Starts a session with the tracks and the block length of the running session of @p other;
    /// nothing happens without a session.
    void StartAs(const MixMeters& other);
    /// As AudioMixer::AddMeterBlocks.
    void Add(const MixMeters& other);

    /// The meters that a block of the mix feeds.
    BlockMeters ForMixBlock() const;

    /// Finished blocks of the master meter.
    unsigned long long BlockCount() const;
    /// As AudioMixer::MetricsForBlocks.
    AudioMetrics Blocks(unsigned long long first, unsigned long long last) const;

private:
    std::shared_ptr<const MeterSet> Set() const;

    mutable std::mutex mutex_;
    std::shared_ptr<const MeterSet> set_;  ///< guarded by mutex_; never null
    std::atomic<bool> active_ = false;     ///< written under mutex_
};

}  // namespace orlo::sonrel::detail
