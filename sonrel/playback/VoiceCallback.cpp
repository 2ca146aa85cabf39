// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/VoiceCallback.h"

#include <utility>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/detail/FrameAudioBuffer.h"

namespace orlo::sonrel::detail {

/// A short stretch of the device's thread that CloseRun waits for. No code of the host runs in it.
class VoiceCallback::DeviceSection {
public:
    explicit DeviceSection(std::atomic<int>& count) : count_(count) { count_.fetch_add(1); }
    ~DeviceSection() {
        count_.fetch_sub(1);
        count_.notify_all();
    }
    DeviceSection(const DeviceSection&) = delete;
    DeviceSection& operator=(const DeviceSection&) = delete;

private:
    std::atomic<int>& count_;
};

VoiceCallback::VoiceCallback(Sonrel* owner, std::atomic<int>& currentVideoFrame,
                             std::atomic<long long>& playedSampleEnd)
    : owner_(owner),
      currentVideoFrame_(currentVideoFrame),
      playedSampleEnd_(playedSampleEnd),
      audience_(std::make_shared<RunAudience>()) {}

void VoiceCallback::OnBufferStart(void* context) {
    const auto* buffer = static_cast<const FrameAudioBuffer*>(context);
    if (buffer == nullptr) {
        soundingRun_ = SINGLE_FRAME;
        return;
    }
    const DeviceSection section(deviceSections_);
    const std::uint64_t run = buffer->run;
    soundingRun_ = run;
    if (run != openRun_) return;
    currentVideoFrame_.exchange(buffer->videoFrame);
    playedSampleEnd_.exchange(buffer->endSample);
}

void VoiceCallback::OnBufferEnd(void* context) {
    if (context != nullptr) bufferEndEvent.Signal();
}

void VoiceCallback::OnStreamEnd() {
    std::shared_ptr<RunAudience> audience;
    {
        const DeviceSection section(deviceSections_);
        std::uint64_t run = soundingRun_;
        // Closes the run, for it ends once.
        if (run == 0 || !openRun_.compare_exchange_strong(run, 0)) return;
        owner_->Mixer()->StopMeterSession();
        audience = audience_;
        audience->Begin();
    }
    // From here on this object is not used: the calls may give commands and even end the engine.
    audience->Notify();
}

void VoiceCallback::OpenRun(std::uint64_t run) {
    openRun_ = run;
}

void VoiceCallback::CloseRun() {
    openRun_ = 0;
    for (int sections = deviceSections_; sections != 0; sections = deviceSections_) {
        deviceSections_.wait(sections);
    }
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
