// SPDX-License-Identifier: MIT
#include "tests/playback/device/CallbackCount.h"

#include <chrono>
#include <memory>
#include <thread>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/VirtualOutput.h"
#include "tests/playback/device/ProbedOutput.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

namespace {

using orlo::sonrel::PlaybackEngine;
using orlo::sonrel::Sonrel;
using orlo::sonrel::VirtualOutput;
using Err = PlaybackEngine::Err;

constexpr int SAMPLES_A_BUFFER = 8;
constexpr int FRAMES = 1'000'000'000;
constexpr int FLUSHES_A_RUN = 20;
constexpr std::chrono::milliseconds PERIOD{5};

struct QuietObserver : orlo::sonrel::AbstractAudioMeterObserver {
    void OnMeterSessionStart(int) override {}
    void OnMeterSessionStop() override {}
    void OnMeterUpdate(const orlo::sonrel::AudioMetrics&) override {}
};

/// An engine on a probed output.
class Player {
public:
    Player() {
        orlo::sonrel::SetAudioOutputFactory([this] { return probed_; });
        builder_.AddObject(builder_.AddMedia(Noise(80000, 1)), 0, 10000);
        engine_ = Sonrel::Create(L"", L"", nullptr, Sonrel::LogOption::NoErrorLog);
        Note(engine_->InitializePlaybackEngine());
        Note(Playback().Initialize(builder_.Project(), builder_.Sequence()));
        Playback().AddMeterObserver(&observer_);
    }
    ~Player() { orlo::sonrel::SetAudioOutputFactory(nullptr); }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// One run, or the remaining callbacks.
    void PlayRun(long long atLeast) {
        Note(Playback().PlayFromFrame(0, PlaybackEngine::PlaybackDirection::Forward, 1, nullptr,
                                      nullptr));
        ++count_.runs;
        for (int i = 0; i < FLUSHES_A_RUN && probed_->Pulls() < atLeast; ++i) {
            std::this_thread::sleep_for(PERIOD);
            Note(Playback().FlushQueuedPlaybackSamples());
            ++count_.flushes;
        }
        Note(Playback().Stop());
    }
    CallbackCount Count() {
        count_.callbacks = probed_->Pulls();
        count_.buffers = virtual_->FramesTaken() / SAMPLES_A_BUFFER;
        return count_;
    }

private:
    PlaybackEngine& Playback() { return *engine_->Playback(); }
    void Note(Err result) {
        if (result != Err::NoError) ++count_.failures;
    }

    const std::shared_ptr<VirtualOutput> virtual_ =
        std::make_shared<VirtualOutput>(VirtualOutput::Clock::DrainDriven);
    const std::shared_ptr<ProbedOutput> probed_ = std::make_shared<ProbedOutput>(virtual_);
    ProjectBuilder builder_{{1000.0, 8000, FRAMES}};
    QuietObserver observer_;
    CallbackCount count_;
    std::shared_ptr<Sonrel> engine_;
};

}  // namespace

CallbackCount CountCallbacks(long long atLeast) {
    Player player;
    CallbackCount count;
    while (count.callbacks < atLeast && count.failures == 0) {
        player.PlayRun(atLeast);
        count = player.Count();
    }
    return count;
}

}  // namespace sonrel_tests
