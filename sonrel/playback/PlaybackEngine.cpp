// SPDX-License-Identifier: MIT
// The class. Only this source of playback uses the engine object: it hands the mixer of its owner
// to the others.
#include "sonrel/playback/PlaybackEngine.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel {

using Err = PlaybackEngine::Err;

const int PlaybackEngine::NO_FRAME = -1;

namespace {

constexpr int MAX_SPEED = 4;
constexpr int METER_BLOCK_MS = 100;

void Rethrow(const std::exception_ptr& failure) {
    if (failure) std::rethrow_exception(failure);
}

}  // namespace

PlaybackEngine::PlaybackEngine(Sonrel* owner)
    : impl_(std::make_unique<PlaybackEngineImpl>(owner, *owner->Mixer())) {}

PlaybackEngine::~PlaybackEngine() = default;

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

Err PlaybackEngine::Initialize(const std::shared_ptr<project::Project>& project,
                               const std::shared_ptr<project::MediaAsset>& asset) {
    return impl_->SetUp({project, asset});
}

Err PlaybackEngine::Initialize(const std::shared_ptr<project::Project>& project,
                               const std::shared_ptr<project::EditorSequence>& sequence) {
    return impl_->SetUp({project, sequence});
}

Err PlaybackEngine::Initialize(const std::shared_ptr<project::Project>& project,
                               const std::shared_ptr<project::CompositionAsset>& composition) {
    return impl_->SetUp({project, composition});
}

Err PlaybackEngine::Refresh() {
    return impl_->SetUp(impl_->targets.Current());
}

void PlaybackEngine::Uninitialize() {
    impl_->targets.Clear();
}

bool PlaybackEngine::IsInitialized() const {
    return InitializedType() != InitializationType::None && impl_->voices.AreOpen();
}

PlaybackEngine::InitializationType PlaybackEngine::InitializedType() const {
    return impl_->targets.CurrentKind();
}

zrtl::ZRID PlaybackEngine::InitializedObjectID() const {
    return impl_->targets.Current().ID();
}

Err PlaybackEngine::PlayFromFrame(int frame, PlaybackDirection direction, int speed,
                                  std::function<void(void*)> completion, void* userData) {
    return PlayFromSample(impl_->format.SampleOfFrame(frame), direction, speed,
                          std::move(completion), userData);
}

Err PlaybackEngine::PlayFromSample(long long sample, PlaybackDirection direction, int speed,
                                   std::function<void(void*)> completion, void* userData) {
    if (!IsInitialized()) return Err::NotInitialized;
    Stop();
    // An observer of the stop may have given commands, and one of them may sound.
    if (!IsInitialized()) return Err::NotInitialized;
    impl_->StopVoiceAndWorker();
    if (sample < 0 || sample >= impl_->format.totalSamples) return Err::OutOfRange;
    impl_->levels.BeginRun(sample);
    impl_->loudness.Begin(impl_->format.sampleRate, impl_->levels.AreWanted());
    impl_->voices.SilenceBuffers();
    impl_->voiceCallback.SetAudience(impl_->levels.List(), std::move(completion), userData);
    impl_->playedSampleEnd.exchange(0);
    impl_->reader.Begin(sample, direction, std::clamp(speed, 1, MAX_SPEED));
    const std::uint64_t run = ++impl_->runNumber;
    impl_->voiceCallback.OpenRun(run);
    impl_->worker.Start(run);
    std::this_thread::sleep_for(impl_->headStart);
    if (!impl_->voices.Source().Start()) return Err::PlaybackFailed;
    const std::exception_ptr failure = impl_->levels.Notify(
        [](AbstractAudioMeterObserver& observer) { observer.OnMeterSessionStart(METER_BLOCK_MS); });
    // An observer of the start may have ended the run, or started another one.
    if (impl_->runNumber == run && impl_->worker.Exists()) impl_->worker.MarkAsPlaying();
    Rethrow(failure);
    return Err::NoError;
}

Err PlaybackEngine::SkipToFrame(int frame) {
    if (!IsPlaying()) return Err::PlaybackFailed;
    // Copies: an observer of the stop may start a run with another completion callback.
    std::function<void(void*)> completion = impl_->voiceCallback.Audience().Completion();
    void* const userData = impl_->voiceCallback.Audience().UserData();
    const PlaybackDirection direction = impl_->reader.RunDirection();
    const int speed = impl_->reader.Speed();
    const Err stopped = Stop();
    if (stopped != Err::NoError) return stopped;
    return PlayFromFrame(frame, direction, speed, std::move(completion), userData);
}

Err PlaybackEngine::Stop() {
    const Err stopped = impl_->StopVoiceAndWorker();
    impl_->levels.End();
    Rethrow(impl_->levels.Notify(
        [](AbstractAudioMeterObserver& observer) { observer.OnMeterSessionStop(); }));
    return stopped;
}

Err PlaybackEngine::PlayFrame(int frame) {
    if (!IsInitialized()) return Err::NotInitialized;
    if (impl_->worker.IsPlaying()) return Err::Busy;
    if (frame < 0) return Err::OutOfRange;
    impl_->StopVoiceAndWorker();
    // A host that scrubs faster than the device releases buffers skips frames.
    if (impl_->voices.Source().GetState().buffersQueued > 0) return Err::Busy;
    impl_->voiceCallback.SetAudience({}, nullptr, nullptr);
    const long long sample = impl_->format.SampleOfFrame(frame);
    if (sample >= impl_->format.totalSamples) return Err::OutOfRange;
    impl_->levels.BeginSingleFrame();
    impl_->reader.Begin(sample, PlaybackDirection::Forward, 1);
    detail::FrameAudioBuffer& buffer = *impl_->voices.Buffers().front();
    impl_->reader.Read(buffer);
    // The frame is shorter than a meter block: this makes it block 0.
    impl_->levels.End();
    impl_->voiceCallback.OpenRun(detail::VoiceCallback::SINGLE_FRAME);
    if (!impl_->voices.Submit(buffer, nullptr, true) || !impl_->voices.Source().Start()) {
        return Err::PlaybackFailed;
    }
    const AudioMetrics metrics = impl_->levels.OfSingleFrame();
    Rethrow(impl_->levels.Notify(
        [&](AbstractAudioMeterObserver& observer) { observer.OnMeterUpdate(metrics); }));
    return Err::NoError;
}

Err PlaybackEngine::FlushQueuedPlaybackSamples() {
    if (!IsPlaying()) return Err::NotPlaying;
    if (impl_->voices.Source().GetState().buffersQueued < 2) return Err::NoError;
    Err result = impl_->worker.Park(impl_->flushTimeout);
    if (result == Err::NoError) result = impl_->DropQueue();
    impl_->worker.Resume();
    return result;
}

bool PlaybackEngine::IsPlaying() const {
    return IsInitialized() && impl_->worker.IsPlaying();
}

int PlaybackEngine::CurrentPlaybackVideoFrame() const {
    return impl_->currentVideoFrame;
}

AudioOutputState PlaybackEngine::OutputState() const {
    return impl_->voices.OutputState();
}

void PlaybackEngine::AddMeterObserver(AbstractAudioMeterObserver* observer) {
    impl_->levels.Add(observer);
}

void PlaybackEngine::RemoveMeterObserver(AbstractAudioMeterObserver* observer) {
    impl_->levels.Remove(observer);
}

AudioMetrics PlaybackEngine::CurrentPlaybackMetrics() const {
    return impl_->levels.Heard();
}

PlaybackLoudness PlaybackEngine::CurrentPlaybackLoudness() const {
    return impl_->loudness.Heard();
}

}  // namespace orlo::sonrel
