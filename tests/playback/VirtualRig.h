// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <utility>

#include "sonrel/playback/VirtualOutput.h"
#include "tests/playback/PlaybackRig.h"
#include "tests/playback/StallingOutput.h"

namespace sonrel_tests {

using Clock = sonrel::VirtualOutput::Clock;

/// A playback engine on a virtual output into memory, so that its callbacks come from a thread of
/// the device. No database, no cache, no dither and no head start of the worker.
class VirtualRig {
public:
    explicit VirtualRig(const Format& format = {}, Clock clock = Clock::DrainDriven)
        : builder(format) {
        PlayOn(sonrel::VirtualOutput::ToMemory(clock));
        sonrel::SetAudioOutputFactory([this] { return device; });
        engine = sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog);
        engine->Mixer()->SetDither(sonrel::DitherType::None, 1);
        MakePlayback();
    }
    ~VirtualRig() {
        engine.reset();
        sonrel::SetAudioOutputFactory({});
    }
    VirtualRig(const VirtualRig&) = delete;
    VirtualRig& operator=(const VirtualRig&) = delete;

    /// The engines that are made from now on play on this output.
    void PlayOn(std::shared_ptr<sonrel::VirtualOutput> newOutput) {
        output = std::move(newOutput);
        device = std::make_shared<StallingOutput>(output);
    }
    void MakePlayback() {
        EXPECT_EQ(engine->InitializePlaybackEngine(), Err::NoError);
        Impl().headStart = std::chrono::milliseconds(0);
    }
    sonrel::PlaybackEngine& Playback() { return *engine->Playback(); }
    sonrel::PlaybackEngineImpl& Impl() { return sonrel::PlaybackEngineAccess::Impl(Playback()); }
    Err SetUpSequence() { return Playback().Initialize(builder.Project(), builder.Sequence()); }

    std::shared_ptr<sonrel::VirtualOutput> output;
    std::shared_ptr<StallingOutput> device;  // the output with a switch
    ProjectBuilder builder;
    std::shared_ptr<sonrel::Sonrel> engine;
};

}  // namespace sonrel_tests
