// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

#include "sonrel/mixer/AudioMixer.h"

namespace orlo::sonrel {

using Err = PlaybackEngine::Err;

namespace {

constexpr int CHANNEL_COUNT = 2;
constexpr int MIN_RATE = 8000;   // hertz
constexpr int MAX_RATE = 96000;  // hertz

}  // namespace

PlaybackEngineImpl::~PlaybackEngineImpl() {
    // A worker can exist although nothing plays: the run has ended without a command, or the voice
    // did not start.
    if (worker.IsPlaying() || worker.Exists()) StopVoiceAndWorker();
    voiceCallback.CloseRun();
}

Err PlaybackEngineImpl::SetUp(const detail::PlaybackTarget& target) {
    if (!target.IsComplete()) return Err::NotInitialized;
    if (!target.HasStream()) return Err::NoMediaStream;
    const detail::TargetFormat wanted = target.Format();
    if (targets.Holds(target) && target.IsSameFormat(wanted, format.Get())) {
        return lastInitializeResult;
    }
    targets.Store(target);
    format.Set(wanted);
    // Remains when memory for the buffers runs out.
    lastInitializeResult = Err::NotInitialized;
    lastInitializeResult = ConfigureDevice();
    if (lastInitializeResult == Err::NoError) targets.Select(target.ObjectKind());
    return lastInitializeResult;
}

Err PlaybackEngineImpl::ConfigureDevice() {
    if (format.channelCount != CHANNEL_COUNT) return Err::UnsupportedChannelCount;
    if (format.sampleRate < MIN_RATE || format.sampleRate > MAX_RATE) {
        return Err::UnsupportedSampleRate;
    }
    // Up to here nothing has changed, and a run continues.
    if (worker.IsPlaying() || worker.Exists()) StopVoiceAndWorker();
    voiceCallback.CloseRun();
    const Err result = voices.Open(format.Get(), voiceCallback);
    if (result != Err::NoError) return result;
    voiceCallback.ClearCompletion();
    mixer.ResetMixSession();
    return Err::NoError;
}

Err PlaybackEngineImpl::StopVoiceAndWorker() {
    if (!voices.HasSource()) {
        voiceCallback.CloseRun();
        return Err::NotInitialized;
    }
    voices.Source().Stop();
    voices.Source().FlushSourceBuffers();
    worker.RequestStop();
    // Drops the buffers that the worker queued before it could see the stop.
    voices.Source().FlushSourceBuffers();
    worker.Join();
    voiceCallback.CloseRun();
    levels.ClearLastBlock();
    worker.ClearPlaying();
    return Err::NoError;
}

Err PlaybackEngineImpl::DropQueue() {
    const long long heard = playedSampleEnd;
    if (!voices.Source().FlushSourceBuffers()) return Err::FlushFailed;
    reader.MoveTo(heard);
    levels.Restart(heard);
    return Err::NoError;
}

}  // namespace orlo::sonrel
