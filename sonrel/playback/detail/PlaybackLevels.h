// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <vector>

#include "sonrel/mixer/AudioMetrics.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/detail/PlayedFormat.h"

namespace orlo::sonrel::detail {

/// The observers of a playback engine, its meter sessions, and the levels of the sound that is
/// heard, which the mixer measured up to a ring of buffers earlier.
///
/// Threads: Heard on any while no set-up runs, everything else on the command thread.
class PlaybackLevels {
public:
    using Observers = std::vector<AbstractAudioMeterObserver*>;

    PlaybackLevels(AudioMixer& mixer, const TargetMemory& targets, const PlayedFormat& format,
                   std::atomic<int>& currentVideoFrame)
        : mixer_(mixer),
          targets_(targets),
          format_(format),
          currentVideoFrame_(currentVideoFrame) {}

    void Add(AbstractAudioMeterObserver* observer) { observers_.push_back(observer); }
    void Remove(AbstractAudioMeterObserver* observer) { std::erase(observers_, observer); }
    const Observers& List() const { return observers_; }
    /// Whether a run would be metered. A media asset never is.
    bool AreWanted() const {
        return !observers_.empty() && targets_.CurrentKind() != PlaybackTarget::Kind::MediaAsset;
    }

    /// Begins the levels of a run. Nothing of it is heard yet.
    void BeginRun(long long startSample);
    void BeginSingleFrame();
    /// Restarts the session at the position where a flushed run resumes, if anyone observes.
    void Restart(long long startSample);
    /// Ends the session. A partly filled block becomes the last block.
    void End();
    void ClearLastBlock() { lastBlock_ = 0; }

    /// The levels of the frame that is heard; the blocks since the last call are merged into them.
    AudioMetrics Heard() const;
    /// The levels of a single frame; empty when nothing was mixed.
    AudioMetrics OfSingleFrame() const;

    /// The sample at which block 0 begins.
    long long StartSample() const { return startSample_; }
    /// The block that Heard returned last.
    std::uint64_t LastBlock() const { return lastBlock_; }

    /// Calls each observer in the order of adding, on this thread, if anyone observes. An observer
    /// that an earlier call removes is skipped; an observer that is added meanwhile is not called.
    /// An exception ends only the call that threw it.
    /// @return the first exception, for the command to throw when its work is done; null without
    /// one
    template <class Call>
    [[nodiscard]] std::exception_ptr Notify(Call call) const {
        std::exception_ptr failure;
        if (!AreWanted()) return failure;
        const Observers observers = observers_;
        for (AbstractAudioMeterObserver* observer : observers) {
            if (std::find(observers_.begin(), observers_.end(), observer) == observers_.end()) {
                continue;
            }
            try {
                call(*observer);
            } catch (...) {
                if (!failure) failure = std::current_exception();
            }
        }
        return failure;
    }

private:
    void StartSession();
    std::uint64_t BlockHeard() const;

    AudioMixer& mixer_;
    const TargetMemory& targets_;
    const PlayedFormat& format_;
    std::atomic<int>& currentVideoFrame_;
    Observers observers_;
    /// Held while a session starts or restarts and while a poll reads: the start sample, the frame
    /// heard and the blocks that a poll combines belong to one session. The device's thread never
    /// takes it.
    mutable std::mutex mutex_;
    std::atomic<long long> startSample_ = 0;
    mutable std::atomic<std::uint64_t> lastBlock_ = 0;
};

}  // namespace orlo::sonrel::detail
