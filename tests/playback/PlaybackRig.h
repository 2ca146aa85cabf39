// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/detail/DeviceFactory.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"
#include "tests/playback/FakeDevice.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

namespace sonrel = orlo::sonrel;

using Err = sonrel::PlaybackEngine::Err;
using Direction = sonrel::PlaybackEngine::PlaybackDirection;
using TargetType = sonrel::PlaybackEngine::InitializationType;

constexpr Direction FORWARD = Direction::Forward;
constexpr Direction REVERSE = Direction::Reverse;
constexpr int NO_FRAME = -1;

/// An observer that records its notifications, on any thread, and runs the actions of a test.
class SpyObserver : public sonrel::AbstractAudioMeterObserver {
public:
    void OnMeterSessionStart(int blockMilliseconds) override {
        Note("start " + std::to_string(blockMilliseconds));
        if (onStart) onStart();
    }
    void OnMeterSessionStop() override {
        Note("stop");
        if (onStop) onStop();
    }
    void OnMeterUpdate(const sonrel::AudioMetrics& metrics) override {
        Note("update");
        updates.push_back(metrics);
        if (onUpdate) onUpdate();
    }

    std::vector<std::string> calls;
    std::vector<sonrel::AudioMetrics> updates;
    std::function<void()> onStart;
    std::function<void()> onStop;
    std::function<void()> onUpdate;

private:
    void Note(const std::string& call) {
        const std::lock_guard guard(mutex_);
        calls.push_back(call);
    }

    std::mutex mutex_;
};

/// Waits for a condition that a thread of the engine fulfils. @return false after a time-out that
/// only a broken build reaches
template <class Condition>
bool Eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(100);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

/// A playback engine on a device that the test steps, with no database, no cache, no dither
/// and no head start of the worker.
class PlaybackRig {
public:
    explicit PlaybackRig(const Format& format = {}) : builder(format) {
        sonrel::SetAudioDeviceMaker([this] { return device.MakeEngine(); });
        engine = sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog);
        engine->Mixer()->SetDither(sonrel::DitherType::None, 1);
        EXPECT_EQ(engine->InitializePlaybackEngine(), Err::NoError);
        Impl().headStart = std::chrono::milliseconds(0);
    }
    ~PlaybackRig() {
        engine.reset();
        sonrel::SetAudioDeviceMaker({});
    }
    PlaybackRig(const PlaybackRig&) = delete;
    PlaybackRig& operator=(const PlaybackRig&) = delete;

    sonrel::PlaybackEngine& Playback() { return *engine->Playback(); }
    sonrel::PlaybackEngineImpl& Impl() { return sonrel::PlaybackEngineAccess::Impl(Playback()); }

    Err SetUpSequence() { return Playback().Initialize(builder.Project(), builder.Sequence()); }

    /// Plays a run of the engine from a sample, without a completion callback.
    Err Play(long long sample, Direction direction = FORWARD, int speed = 1) {
        return Playback().PlayFromSample(sample, direction, speed, nullptr, nullptr);
    }

    /// Plays the device until the run has ended. @return false when it does not end
    bool PlayToEnd() {
        return Eventually([&] {
            device.PlayBuffer();
            return !Playback().IsPlaying();
        });
    }

    FakeDevice device;
    ProjectBuilder builder;
    std::shared_ptr<sonrel::Sonrel> engine;
};

}  // namespace sonrel_tests
