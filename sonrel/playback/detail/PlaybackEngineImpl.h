// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/detail/FlushWait.h"
#include "sonrel/playback/detail/FrameAudioBuffer.h"
#include "sonrel/playback/detail/VoiceCallback.h"
#include "sonrel/playback/detail/WorkerControl.h"
#include "sonrel/playback/device/AudioDevice.h"
#include "sonrel/project.h"

namespace orlo::sonrel {

/// The playback engine's record.
///
/// Threads: the atomic members are shared by the command thread, the worker and the device's
/// thread; targetMutex guards the target, and nobody mixes under it; meterMutex keeps a poll of the
/// levels apart from the start of a session, and the device's thread never takes it. readPosition
/// belongs to the worker, and during a flush, while the worker stands still, to the command thread.
/// All else is written by the command thread alone, while no worker runs if the worker reads it.
struct PlaybackEngineImpl {
    explicit PlaybackEngineImpl(Sonrel* engineObject)
        : owner(engineObject), voiceCallback(engineObject, currentVideoFrame, playedSampleEnd) {}

    Sonrel* owner;  // outlives the engine
    std::unique_ptr<device::AudioDevice> device;
    bool threadInitialized = false;  // the device was told of the thread that made the engine

    std::atomic<int> currentVideoFrame = PlaybackEngine::NO_FRAME;  // of the buffer begun last
    std::atomic<long long> playedSampleEnd = 0;                     // endSample of that buffer
    detail::VoiceCallback voiceCallback;
    std::vector<std::shared_ptr<detail::FrameAudioBuffer>> frameBuffers;
    std::unique_ptr<device::MasteringVoice> masteringVoice;
    std::unique_ptr<device::SourceVoice> sourceVoice;  // goes before what it reads and tells

    std::thread workerThread;
    detail::WorkerControl signals;
    std::chrono::milliseconds headStart{50};  // of the worker before the voice runs
    std::chrono::milliseconds flushTimeout = detail::FLUSH_TIMEOUT;

    std::uint64_t runNumber = detail::VoiceCallback::SINGLE_FRAME;  // of the current run
    std::atomic<long long> startSample = 0;  // where the block count of the meters begins
    PlaybackEngine::PlaybackDirection direction = PlaybackEngine::PlaybackDirection::Forward;
    int speed = 1;               // 1 to 4
    long long readPosition = 0;  // the next sample to mix
    std::atomic<bool> isPlaying = false;
    std::atomic<bool> hasPlayedOut = false;  // the run has submitted and drained

    mutable std::mutex targetMutex;
    std::weak_ptr<project::Project> project;
    std::weak_ptr<project::MediaAsset> mediaAsset;
    std::weak_ptr<project::EditorSequence> sequence;
    std::weak_ptr<project::CompositionAsset> composition;
    std::atomic<PlaybackEngine::InitializationType> initializationType =
        PlaybackEngine::InitializationType::None;
    int channelCount = 0;             // 2 once set up
    std::atomic<int> sampleRate = 0;  // hertz
    std::atomic<double> frameRate = 0.0;
    std::atomic<long long> totalSamples = 0;
    std::uint64_t audioTrackCount = 0;  // tracks to meter

    std::vector<AbstractAudioMeterObserver*> meterObservers;
    /// Held while a meter session starts or restarts, and while a poll reads: the start sample, the
    /// frame heard and the blocks that a poll combines are of one session.
    mutable std::mutex meterMutex;
    int meterBlockSamples = 0;                      // 0 for a media asset
    std::atomic<std::uint64_t> lastMeterBlock = 0;  // what was answered last
    PlaybackEngine::Err lastInitializeResult = PlaybackEngine::Err::NoError;
};

/// Reaches the record of a playback engine.
struct PlaybackEngineAccess {
    static PlaybackEngineImpl& Impl(const PlaybackEngine& engine) { return *engine.impl_; }
};

}  // namespace orlo::sonrel
