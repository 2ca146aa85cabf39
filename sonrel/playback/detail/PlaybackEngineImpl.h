// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/detail/HeardLoudness.h"
#include "sonrel/playback/detail/PlaybackLevels.h"
#include "sonrel/playback/detail/PlaybackReader.h"
#include "sonrel/playback/detail/PlaybackVoices.h"
#include "sonrel/playback/detail/PlaybackWorker.h"
#include "sonrel/playback/detail/PlayedFormat.h"
#include "sonrel/playback/detail/VoiceCallback.h"

namespace orlo::sonrel {

/// The playback engine's record.
///
/// Threads: the command thread. The worker of a run uses reader, voices, format and loudness,
/// the device's thread uses voiceCallback and loudness; these classes document their threads.
/// The atomic members may be read on any thread.
struct PlaybackEngineImpl {
    /// @throws the exceptions of the constructor of PlaybackVoices
    PlaybackEngineImpl(Sonrel* engineObject, AudioMixer& theMixer)
        : owner(engineObject), mixer(theMixer) {}
    /// Stops a run without calling observers, and closes the device.
    ~PlaybackEngineImpl();
    PlaybackEngineImpl(const PlaybackEngineImpl&) = delete;
    PlaybackEngineImpl& operator=(const PlaybackEngineImpl&) = delete;

    /// Sets the engine up on a target, unless it is unchanged.
    PlaybackEngine::Err SetUp(const detail::PlaybackTarget& target);
    /// Opens voices and makes buffers for the stored format. A run ends, unless the format is
    /// refused.
    PlaybackEngine::Err ConfigureDevice();
    /// Stops the voice and ends the worker: nothing else ends it.
    /// @return NotInitialized without a source voice
    PlaybackEngine::Err StopVoiceAndWorker();
    /// Drops the queue and moves the worker, which is parked, to the end of the sounding buffer.
    PlaybackEngine::Err DropQueue();

    Sonrel* const owner;  // outlives the engine
    AudioMixer& mixer;    // the owner's

    std::atomic<int> currentVideoFrame = PlaybackEngine::NO_FRAME;  // of the buffer begun last
    std::atomic<long long> playedSampleEnd = 0;                     // endSample of that buffer
    detail::TargetMemory targets;
    detail::PlayedFormat format;
    detail::PlaybackLevels levels{mixer, targets, format, currentVideoFrame};
    detail::HeardLoudness loudness;
    detail::VoiceCallback voiceCallback{mixer, currentVideoFrame, playedSampleEnd, loudness};
    detail::PlaybackVoices voices;  // destroyed before the callback that it calls
    detail::PlaybackReader reader{mixer, targets, format};
    detail::PlaybackWorker worker{reader, voices, voiceCallback, loudness};

    std::chrono::milliseconds headStart{50};  // of the worker before the voice runs
    std::chrono::milliseconds flushTimeout = detail::FLUSH_TIMEOUT;
    std::uint64_t runNumber = detail::VoiceCallback::SINGLE_FRAME;  // of the current run
    PlaybackEngine::Err lastInitializeResult = PlaybackEngine::Err::NoError;
};

/// Reaches the record of a playback engine.
struct PlaybackEngineAccess {
    static PlaybackEngineImpl& Impl(const PlaybackEngine& engine) { return *engine.impl_; }
};

}  // namespace orlo::sonrel
