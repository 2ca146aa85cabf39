// SPDX-License-Identifier: MIT
#include "sonrel/playback/PlaybackEngine.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/detail/DeviceSetup.h"
#include "sonrel/playback/detail/FlushWait.h"
#include "sonrel/playback/detail/MeterObservers.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"
#include "sonrel/playback/detail/PlaybackReader.h"
#include "sonrel/playback/detail/PlaybackWorker.h"

namespace orlo::sonrel {

using Err = PlaybackEngine::Err;

const int PlaybackEngine::NO_FRAME = -1;

namespace {

constexpr int MAX_SPEED = 4;
constexpr int METER_BLOCK_MS = 100;

AudioMixer& MixerOf(const PlaybackEngineImpl& engine) {
    return *engine.owner->Mixer();
}

long long SampleOfFrame(const PlaybackEngineImpl& engine, int frame) {
    return zrtl::FrameToSample(frame, engine.sampleRate, engine.frameRate);
}

/// Starts the meters of a run or a single frame if anybody wants them. Under meterMutex.
void StartMeters(PlaybackEngineImpl& engine) {
    if (!detail::HasMeterObservers(engine)) return;
    engine.lastMeterBlock = 0;
    MixerOf(engine).StartMeterSession(engine.audioTrackCount, engine.meterBlockSamples);
}

/// Begins the levels of a run that starts at a sample. Nothing of it is heard yet.
void BeginLevels(PlaybackEngineImpl& engine, long long startSample) {
    const std::lock_guard guard(engine.meterMutex);
    StartMeters(engine);
    engine.currentVideoFrame.exchange(PlaybackEngine::NO_FRAME);
    engine.startSample = startSample;
}

void BeginSingleFrameLevels(PlaybackEngineImpl& engine) {
    const std::lock_guard guard(engine.meterMutex);
    StartMeters(engine);
}

void StartWorker(PlaybackEngineImpl& engine) {
    engine.signals.Reset();
    engine.hasPlayedOut = false;
    engine.workerThread = std::thread([&engine] { detail::PlaybackThreadEntry(engine); });
}

/// A short run on a fast output may have been heard to its end already. A run that had nothing to
/// play at all stays as it is until it is stopped.
void MarkAsPlaying(PlaybackEngineImpl& engine) {
    engine.isPlaying.exchange(true);
    if (engine.hasPlayedOut) engine.isPlaying.exchange(false);
}

/// Drops the queue and sends the worker back to the end of the buffer that sounds. The worker
/// stands still.
Err DropQueue(PlaybackEngineImpl& engine) {
    const long long heard = engine.playedSampleEnd;
    if (!engine.sourceVoice->FlushSourceBuffers()) return Err::FlushFailed;
    engine.readPosition = heard;
    if (detail::HasMeterObservers(engine)) {
        const std::lock_guard guard(engine.meterMutex);
        engine.startSample = heard;
        engine.lastMeterBlock = 0;
        MixerOf(engine).RestartMeterSession();
    }
    return Err::NoError;
}

bool SubmitSingleFrame(PlaybackEngineImpl& engine, const detail::FrameAudioBuffer& buffer) {
    device::SourceBuffer submission;
    submission.audioBytes = buffer.SizeInBytes();
    submission.audioData = reinterpret_cast<const unsigned char*>(buffer.samples.data());
    submission.endOfStream = true;
    engine.voiceCallback.OpenRun(detail::VoiceCallback::SINGLE_FRAME);
    return engine.sourceVoice->SubmitSourceBuffer(submission) && engine.sourceVoice->Start();
}

}  // namespace

Err PlaybackEngine::PlayFromFrame(int frame, PlaybackDirection direction, int speed,
                                  std::function<void(void*)> completion, void* userData) {
    return PlayFromSample(SampleOfFrame(*impl_, frame), direction, speed, std::move(completion),
                          userData);
}

Err PlaybackEngine::PlayFromSample(long long sample, PlaybackDirection direction, int speed,
                                   std::function<void(void*)> completion, void* userData) {
    if (!IsInitialized()) return Err::NotInitialized;
    Stop();
    // An observer of the stop may have given commands of its own, and one of them may sound.
    if (!IsInitialized()) return Err::NotInitialized;
    detail::StopVoiceAndWorker(*impl_);
    if (sample < 0 || sample >= impl_->totalSamples) return Err::OutOfRange;
    BeginLevels(*impl_, sample);
    for (const auto& buffer : impl_->frameBuffers) {
        std::fill(buffer->samples.begin(), buffer->samples.end(), short{0});
    }
    impl_->voiceCallback.SetAudience(impl_->meterObservers, std::move(completion), userData);
    impl_->playedSampleEnd.exchange(0);
    impl_->readPosition = sample;
    impl_->direction = direction;
    impl_->speed = std::clamp(speed, 1, MAX_SPEED);
    const std::uint64_t run = ++impl_->runNumber;
    impl_->voiceCallback.OpenRun(run);
    StartWorker(*impl_);
    std::this_thread::sleep_for(impl_->headStart);
    if (!impl_->sourceVoice->Start()) return Err::PlaybackFailed;
    std::exception_ptr failure;
    if (detail::HasMeterObservers(*impl_)) {
        failure = detail::NotifyObservers(*impl_, [](AbstractAudioMeterObserver& observer) {
            observer.OnMeterSessionStart(METER_BLOCK_MS);
        });
    }
    // An observer of the start may have ended the run, or started another one.
    if (impl_->runNumber == run && impl_->workerThread.joinable()) MarkAsPlaying(*impl_);
    detail::Rethrow(failure);
    return Err::NoError;
}

Err PlaybackEngine::SkipToFrame(int frame) {
    if (!IsPlaying()) return Err::PlaybackFailed;
    // Copies: an observer of the stop may start a run with another completion callback.
    std::function<void(void*)> completion = impl_->voiceCallback.Audience().Completion();
    void* const userData = impl_->voiceCallback.Audience().UserData();
    const PlaybackDirection direction = impl_->direction;
    const int speed = impl_->speed;
    const Err stopped = Stop();
    if (stopped != Err::NoError) return stopped;
    return PlayFromSample(SampleOfFrame(*impl_, frame), direction, speed, std::move(completion),
                          userData);
}

Err PlaybackEngine::Stop() {
    const Err stopped = detail::StopVoiceAndWorker(*impl_);
    MixerOf(*impl_).StopMeterSession();
    if (detail::HasMeterObservers(*impl_)) {
        detail::Rethrow(detail::NotifyObservers(
            *impl_, [](AbstractAudioMeterObserver& observer) { observer.OnMeterSessionStop(); }));
    }
    return stopped;
}

Err PlaybackEngine::PlayFrame(int frame) {
    if (!IsInitialized()) return Err::NotInitialized;
    if (impl_->isPlaying) return Err::Busy;
    if (frame < 0) return Err::OutOfRange;
    detail::StopVoiceAndWorker(*impl_);
    // Who scrubs faster than the device lets go skips frames.
    if (impl_->sourceVoice->GetState().buffersQueued > 0) return Err::Busy;
    impl_->voiceCallback.SetAudience({}, nullptr, nullptr);
    const long long sample = SampleOfFrame(*impl_, frame);
    if (sample >= impl_->totalSamples) return Err::OutOfRange;
    const bool metered = detail::HasMeterObservers(*impl_);
    BeginSingleFrameLevels(*impl_);
    impl_->direction = PlaybackDirection::Forward;
    impl_->speed = 1;
    impl_->readPosition = sample;
    detail::FrameAudioBuffer& buffer = *impl_->frameBuffers.front();
    detail::ReadPlaybackSamples(*impl_, buffer);
    // The frame is shorter than a meter block: this makes it block 0.
    MixerOf(*impl_).StopMeterSession();
    if (!SubmitSingleFrame(*impl_, buffer)) return Err::PlaybackFailed;
    if (metered) {
        const AudioMetrics metrics = MixerOf(*impl_).MeterBlockCount() > 0
                                         ? MixerOf(*impl_).MetricsForBlock(0)
                                         : AudioMetrics();
        detail::Rethrow(detail::NotifyObservers(*impl_, [&](AbstractAudioMeterObserver& observer) {
            observer.OnMeterUpdate(metrics);
        }));
    }
    return Err::NoError;
}

Err PlaybackEngine::FlushQueuedPlaybackSamples() {
    if (!IsPlaying()) return Err::NotPlaying;
    if (impl_->sourceVoice->GetState().buffersQueued < 2) return Err::NoError;
    impl_->signals.RequestFlush();
    Err result = detail::WaitForParkedWorker(
        [this](std::chrono::milliseconds limit) { return impl_->signals.WaitUntilParked(limit); },
        impl_->isPlaying, impl_->flushTimeout);
    if (result == Err::NoError) result = DropQueue(*impl_);
    impl_->signals.EndFlush();
    return result;
}

bool PlaybackEngine::IsPlaying() const {
    return IsInitialized() && impl_->isPlaying;
}

int PlaybackEngine::CurrentPlaybackVideoFrame() const {
    return impl_->currentVideoFrame;
}

AudioOutputState PlaybackEngine::OutputState() const {
    return impl_->masteringVoice ? impl_->masteringVoice->State() : AudioOutputState();
}

}  // namespace orlo::sonrel
