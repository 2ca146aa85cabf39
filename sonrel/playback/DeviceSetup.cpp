// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/DeviceSetup.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>

#include "sonrel/base/Numbers.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/detail/DeviceFactory.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel {

using Err = PlaybackEngine::Err;

namespace {

constexpr int CHANNEL_COUNT = 2;
constexpr int MIN_RATE = 8000;   // hertz
constexpr int MAX_RATE = 96000;  // hertz

constexpr std::int64_t MAX_BUFFER = 3600LL * MAX_RATE;  // samples

/// Samples in one buffer: a video frame, rounded up, so that no buffer is shorter than its frame.
/// @throws std::length_error for a frame that no memory holds fifty times
std::size_t SamplesPerBuffer(int sampleRate, double frameRate) {
    const std::int64_t samples = zrtl::TruncToInt64(std::ceil(sampleRate / frameRate));
    if (samples < 1 || samples > MAX_BUFFER) throw std::length_error("Video frame too long");
    return static_cast<std::size_t>(samples);
}

void MakeFrameBuffers(PlaybackEngineImpl& engine) {
    const std::size_t samples = SamplesPerBuffer(engine.sampleRate, engine.frameRate);
    for (int i = 0; i < detail::FRAME_BUFFER_COUNT; ++i) {
        engine.frameBuffers.push_back(std::make_shared<detail::FrameAudioBuffer>(samples));
    }
}

Err MakeVoices(PlaybackEngineImpl& engine) {
    engine.masteringVoice =
        engine.device->CreateMasteringVoice(engine.channelCount, engine.sampleRate);
    if (!engine.masteringVoice) return Err::MasteringVoiceFailed;
    device::WaveFormat format;
    format.channelCount = engine.channelCount;
    format.sampleRate = engine.sampleRate;
    engine.sourceVoice =
        engine.device->CreateSourceVoice(*engine.masteringVoice, format, engine.voiceCallback);
    // The mastering voice stays, until the next set-up.
    return engine.sourceVoice ? Err::NoError : Err::SourceVoiceFailed;
}

/// Stops the voice, drops its queue and joins the worker.
void EndRun(PlaybackEngineImpl& engine) {
    engine.sourceVoice->Stop();
    engine.sourceVoice->FlushSourceBuffers();
    engine.signals.Stop();
    // What the worker queued before it could see the stop is dropped as well. It may be waiting for
    // a buffer's end that a lost device never reports, so it is woken from here too.
    engine.sourceVoice->FlushSourceBuffers();
    engine.voiceCallback.bufferEndEvent.Signal();
    if (engine.workerThread.joinable()) engine.workerThread.join();
}

}  // namespace

PlaybackEngine::PlaybackEngine(Sonrel* owner) : impl_(std::make_unique<PlaybackEngineImpl>(owner)) {
    impl_->device = MakeAudioDevice();
    if (!impl_->device->InitThread()) throw std::runtime_error("COM not initialized");
    impl_->threadInitialized = true;
}

PlaybackEngine::~PlaybackEngine() {
    // A worker can be there although nothing plays: it has come to its end by itself, or the voice
    // did not start.
    if (impl_->isPlaying || impl_->workerThread.joinable()) detail::StopVoiceAndWorker(*impl_);
    impl_->voiceCallback.CloseRun();
    impl_->sourceVoice.reset();
    impl_->masteringVoice.reset();
    if (impl_->threadInitialized) impl_->device->UninitThread();
}

Err PlaybackEngine::Create(Sonrel* owner, std::shared_ptr<PlaybackEngine>& engine) {
    try {
        engine = std::shared_ptr<PlaybackEngine>(new PlaybackEngine(owner));
        return Err::NoError;
    } catch (const device::LibraryLoadError&) {
        return Err::AudioLibraryLoadFailed;
    } catch (const std::exception&) {
        return Err::AudioEngineCreateFailed;
    }
}

namespace detail {

Err ConfigureDevice(PlaybackEngineImpl& engine) {
    if (engine.channelCount != CHANNEL_COUNT) return Err::UnsupportedChannelCount;
    if (engine.sampleRate < MIN_RATE || engine.sampleRate > MAX_RATE) {
        return Err::UnsupportedSampleRate;
    }
    // Up to here nothing was touched, and a run goes on.
    if (engine.isPlaying || engine.workerThread.joinable()) StopVoiceAndWorker(engine);
    engine.voiceCallback.CloseRun();
    engine.sourceVoice.reset();
    engine.masteringVoice.reset();
    engine.frameBuffers.clear();
    const Err voices = MakeVoices(engine);
    if (voices != Err::NoError) return voices;
    MakeFrameBuffers(engine);
    engine.voiceCallback.ClearCompletion();
    engine.owner->Mixer()->ResetMixSession();
    return Err::NoError;
}

Err StopVoiceAndWorker(PlaybackEngineImpl& engine) {
    if (engine.sourceVoice) EndRun(engine);
    engine.voiceCallback.CloseRun();
    if (!engine.sourceVoice) return Err::NotInitialized;
    engine.lastMeterBlock = 0;
    engine.isPlaying.exchange(false);
    return Err::NoError;
}

}  // namespace detail
}  // namespace orlo::sonrel
