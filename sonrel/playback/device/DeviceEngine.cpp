// SPDX-License-Identifier: MIT
#include <utility>

#include "sonrel/playback/device/AudioDevice.h"
#include "sonrel/playback/device/SdlOutput.h"
#include "sonrel/playback/device/Voice.h"

namespace orlo::sonrel::device {

namespace {

constexpr int CHANNELS = 2;
constexpr int BITS_PER_SAMPLE = 16;

class VoiceHandle : public SourceVoice {
public:
    explicit VoiceHandle(std::shared_ptr<Voice> voice) : voice_(std::move(voice)) {}
    ~VoiceHandle() override { voice_->Detach(); }

    bool SubmitSourceBuffer(const SourceBuffer& buffer) override { return voice_->Submit(buffer); }
    bool Start() override {
        voice_->Start();
        return true;
    }
    bool Stop() override {
        voice_->Stop();
        return true;
    }
    bool FlushSourceBuffers() override {
        voice_->Flush();
        return true;
    }
    VoiceState GetState() const override { return {voice_->BuffersQueued()}; }

private:
    const std::shared_ptr<Voice> voice_;
};

class OpenOutput : public MasteringVoice {
public:
    OpenOutput(std::shared_ptr<AudioOutput> output, std::shared_ptr<Voice> voice, int sampleRate)
        : output_(std::move(output)), voice_(std::move(voice)), sampleRate_(sampleRate) {}
    ~OpenOutput() override { output_->Close(); }

    AudioOutputState State() const override { return {output_->IsLost(), voice_->FramesPulled()}; }

    const std::shared_ptr<Voice>& Source() const { return voice_; }
    int SampleRate() const { return sampleRate_; }

private:
    const std::shared_ptr<AudioOutput> output_;
    const std::shared_ptr<Voice> voice_;
    const int sampleRate_;
};

class DeviceEngine : public AudioDevice {
public:
    explicit DeviceEngine(std::shared_ptr<AudioOutput> output) : output_(std::move(output)) {}

    bool InitThread() override { return true; }
    void UninitThread() override {}

    std::unique_ptr<MasteringVoice> CreateMasteringVoice(int channelCount,
                                                         int sampleRate) override {
        if (channelCount != CHANNELS) return nullptr;
        auto voice = std::make_shared<Voice>(output_);
        if (!output_->Open(sampleRate, voice)) return nullptr;
        return std::make_unique<OpenOutput>(output_, std::move(voice), sampleRate);
    }

    std::unique_ptr<SourceVoice> CreateSourceVoice(MasteringVoice& mastering,
                                                   const WaveFormat& format,
                                                   VoiceEvents& events) override {
        const auto& output = static_cast<const OpenOutput&>(mastering);
        if (format.channelCount != CHANNELS || format.bitsPerSample != BITS_PER_SAMPLE ||
            format.sampleRate != output.SampleRate() || !output.Source()->Attach(events)) {
            return nullptr;
        }
        return std::make_unique<VoiceHandle>(output.Source());
    }

private:
    const std::shared_ptr<AudioOutput> output_;
};

}  // namespace

std::unique_ptr<AudioDevice> CreateAudioDevice(const AudioOutputFactory& factory, int bufferMs) {
    std::shared_ptr<AudioOutput> output =
        factory ? factory() : std::make_shared<SdlOutput>(SdlLibrary::Load(SDL_LIBRARY), bufferMs);
    if (output == nullptr) throw std::runtime_error("the audio output factory gave no output");
    return std::make_unique<DeviceEngine>(std::move(output));
}

}  // namespace orlo::sonrel::device
