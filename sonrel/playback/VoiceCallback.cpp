// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/VoiceCallback.h"

#include <utility>

#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/detail/FrameAudioBuffer.h"

namespace orlo::sonrel::detail {

VoiceCallback::VoiceCallback(AudioMixer& mixer, std::atomic<int>& currentVideoFrame,
                             std::atomic<long long>& playedSampleEnd, HeardLoudness& loudness)
    : mixer_(mixer),
      currentVideoFrame_(currentVideoFrame),
      playedSampleEnd_(playedSampleEnd),
      loudness_(loudness),
      audience_(std::make_shared<RunAudience>()) {}

void VoiceCallback::OnBufferStart(void* context) {
    const auto* buffer = static_cast<const FrameAudioBuffer*>(context);
    if (buffer == nullptr) {
        soundingRun_ = SINGLE_FRAME;
        return;
    }
    const device::CallbackGate::Scope report(reports_);
    const std::uint64_t run = buffer->run;
    soundingRun_ = run;
    if (run != openRun_) return;
    currentVideoFrame_.exchange(buffer->videoFrame);
    playedSampleEnd_.exchange(buffer->endSample);
    loudness_.Hear(*buffer);
}

void VoiceCallback::OnBufferEnd(void* context) {
    if (context != nullptr) bufferEnds.Advance();
}

void VoiceCallback::OnStreamEnd() {
    std::shared_ptr<RunAudience> audience;
    {
        const device::CallbackGate::Scope report(reports_);
        std::uint64_t run = soundingRun_;
        // Closes the run, because it ends once.
        if (run == 0 || !openRun_.compare_exchange_strong(run, 0)) return;
        mixer_.StopMeterSession();
        audience = audience_;
        audience->Begin();
    }
    // This object is not used any more: the calls may give commands and even destroy the engine.
    audience->Notify();
}

void VoiceCallback::OpenRun(std::uint64_t run) {
    openRun_ = run;
}

void VoiceCallback::CloseRun() {
    openRun_ = 0;
    reports_.WaitUntilLeft();
    audience_->Cancel();
    for (const auto& audience : interrupted_) audience->Cancel();
    std::erase_if(interrupted_, [](const auto& audience) { return !audience->IsNotifying(); });
}

void VoiceCallback::SetAudience(std::vector<AbstractAudioMeterObserver*> observers,
                                std::function<void(void*)> completion, void* userData) {
    auto audience =
        std::make_shared<RunAudience>(std::move(observers), std::move(completion), userData);
    if (audience_->IsNotifying()) {
        interrupted_.push_back(std::move(audience_));
    } else {
        audience_->Release();
    }
    audience_ = std::move(audience);
}

void VoiceCallback::ClearCompletion() {
    SetAudience(audience_->Observers(), nullptr, nullptr);
}

}  // namespace orlo::sonrel::detail
