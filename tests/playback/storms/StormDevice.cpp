// SPDX-License-Identifier: MIT
#include "tests/playback/storms/StormDevice.h"

#include <chrono>
#include <numeric>
#include <utility>

namespace sonrel_tests {

using orlo::sonrel::AudioOutput;
using orlo::sonrel::AudioOutputSource;

namespace {

constexpr std::chrono::microseconds SLOW_PULL{500};

}  // namespace

/// The source of the output, at the pace of the device.
class StormSource : public AudioOutputSource {
public:
    StormSource(std::shared_ptr<AudioOutputSource> source, const StormDevice& device)
        : source_(std::move(source)), device_(device) {}

    int Pull(short* output, int frameCount) override {
        if (device_.pace_ == StormDevice::Pace::Lost) return 0;
        if (frameCount > 0 && device_.pace_ == StormDevice::Pace::Slow) {
            std::this_thread::sleep_for(SLOW_PULL);
        }
        return source_->Pull(output, frameCount);
    }
    int ReadyFrames() override { return device_.IsStill() ? 0 : source_->ReadyFrames(); }

private:
    const std::shared_ptr<AudioOutputSource> source_;
    const StormDevice& device_;
};

class StormOutput : public AudioOutput {
public:
    StormOutput(std::shared_ptr<AudioOutput> output, const StormDevice& device)
        : output_(std::move(output)), device_(device) {}

    bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) override {
        return output_->Open(sampleRate, std::make_shared<StormSource>(std::move(source), device_));
    }
    void Close() override { output_->Close(); }
    void Wake() override { output_->Wake(); }

private:
    const std::shared_ptr<AudioOutput> output_;
    const StormDevice& device_;
};

/// Forwards the callbacks.
class StormEvents : public device::VoiceEvents {
public:
    StormEvents(device::VoiceEvents& events, const StormDevice& device)
        : events_(events), device_(device) {}

    void OnBufferStart(void* context) override {
        device_.CheckThread();
        events_.OnBufferStart(context);
    }
    void OnBufferEnd(void* context) override {
        device_.CheckThread();
        events_.OnBufferEnd(context);
    }
    void OnStreamEnd() override {
        device_.CheckThread();
        events_.OnStreamEnd();
    }

private:
    device::VoiceEvents& events_;
    const StormDevice& device_;
};

class StormVoice : public device::SourceVoice {
public:
    StormVoice(std::unique_ptr<StormEvents> events, std::unique_ptr<device::SourceVoice> voice,
               StormDevice& device)
        : events_(std::move(events)), voice_(std::move(voice)), device_(device) {}

    bool SubmitSourceBuffer(const device::SourceBuffer& buffer) override {
        return !device_.IsRefused(StormDevice::Call::Submit) && voice_->SubmitSourceBuffer(buffer);
    }
    bool Start() override {
        return !device_.IsRefused(StormDevice::Call::Start) && voice_->Start();
    }
    bool Stop() override { return voice_->Stop(); }
    bool FlushSourceBuffers() override { return voice_->FlushSourceBuffers(); }
    device::VoiceState GetState() const override { return voice_->GetState(); }

private:
    const std::unique_ptr<StormEvents> events_;  // outlives the voice
    const std::unique_ptr<device::SourceVoice> voice_;
    StormDevice& device_;
};

class StormEngine : public device::AudioDevice {
public:
    StormEngine(std::unique_ptr<device::AudioDevice> engine, StormDevice& device)
        : engine_(std::move(engine)), device_(device) {}

    bool InitThread() override {
        ++device_.threads_;
        return true;
    }
    void UninitThread() override { --device_.threads_; }

    std::unique_ptr<device::MasteringVoice> CreateMasteringVoice(int channelCount,
                                                                 int sampleRate) override {
        if (device_.IsRefused(StormDevice::Call::CreateMasteringVoice)) return nullptr;
        return engine_->CreateMasteringVoice(channelCount, sampleRate);
    }
    std::unique_ptr<device::SourceVoice> CreateSourceVoice(device::MasteringVoice& mastering,
                                                           const device::WaveFormat& format,
                                                           device::VoiceEvents& events) override {
        if (device_.IsRefused(StormDevice::Call::CreateSourceVoice)) return nullptr;
        auto checked = std::make_unique<StormEvents>(events, device_);
        auto voice = engine_->CreateSourceVoice(mastering, format, *checked);
        return std::make_unique<StormVoice>(std::move(checked), std::move(voice), device_);
    }

private:
    const std::unique_ptr<device::AudioDevice> engine_;
    StormDevice& device_;
};

StormDevice::StormDevice(std::function<void(const char*)> fault) : fault_(std::move(fault)) {}

std::unique_ptr<device::AudioDevice> StormDevice::MakeEngine() {
    auto engine =
        device::CreateAudioDevice([this] { return std::make_shared<StormOutput>(output_, *this); });
    return std::make_unique<StormEngine>(std::move(engine), *this);
}

void StormDevice::SetPace(Pace pace) {
    pace_ = pace;
    output_->Wake();
}

bool StormDevice::IsStill() const {
    const Pace pace = pace_;
    return pace == Pace::Lost || pace == Pace::LostButFlushing;
}

void StormDevice::Refuse(Call call, int passed, int count) {
    refuseFrom_[Index(call)] = made_[Index(call)] + passed;
    refuseTo_[Index(call)] = refuseFrom_[Index(call)] + count;
}

void StormDevice::RefuseNothing() {
    for (auto& end : refuseTo_) end = 0;
}

int StormDevice::RefusedCalls() const {
    return std::accumulate(refused_.begin(), refused_.end(), 0);
}

bool StormDevice::IsRefused(Call call) {
    const int number = made_[Index(call)]++;
    if (number < refuseFrom_[Index(call)] || number >= refuseTo_[Index(call)]) return false;
    ++refused_[Index(call)];
    return true;
}

void StormDevice::CheckThread() const {
    if (std::this_thread::get_id() == commandThread_) {
        fault_("a callback of the device came on the thread of the commands");
    }
}

}  // namespace sonrel_tests
