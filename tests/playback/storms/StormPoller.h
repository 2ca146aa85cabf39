// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <shared_mutex>
#include <thread>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "tests/playback/storms/StormFaults.h"

namespace sonrel_tests {

/// Polls frame, levels and state of an engine on a separate thread, like the display of a host.
/// Does not poll while SetUpMutex is held.
class StormPoller {
public:
    StormPoller(const orlo::sonrel::Sonrel& engine, StormFaults& faults)
        : engine_(engine), faults_(faults), thread_([this] { Run(); }) {}
    ~StormPoller() {
        done_ = true;
        thread_.join();
    }
    StormPoller(const StormPoller&) = delete;
    StormPoller& operator=(const StormPoller&) = delete;

    std::shared_mutex& SetUpMutex() { return setUp_; }

private:
    static constexpr std::chrono::microseconds PERIOD{300};

    void Run() {
        while (!done_) {
            {
                const std::shared_lock guard(setUp_);
                Poll(*engine_.Playback());
            }
            std::this_thread::sleep_for(PERIOD);
        }
    }
    void Poll(const orlo::sonrel::PlaybackEngine& playback) {
        playback.IsPlaying();
        if (playback.CurrentPlaybackVideoFrame() < orlo::sonrel::PlaybackEngine::NO_FRAME) {
            faults_.Add("a frame below none is heard");
        }
        const orlo::sonrel::AudioMetrics metrics = playback.CurrentPlaybackMetrics();
        // A set-up that ends a metered run leaves its session open. A single frame of a composition
        // that is not metered then adds to the master, and to no track.
        for (const auto& track : metrics.trackMetrics) {
            if (track.sampleCount <= metrics.masterMetrics.sampleCount) continue;
            faults_.Add("the levels of a track are of more samples than the master's");
        }
    }

    const orlo::sonrel::Sonrel& engine_;
    StormFaults& faults_;
    std::shared_mutex setUp_;
    std::atomic<bool> done_ = false;
    std::thread thread_;
};

}  // namespace sonrel_tests
