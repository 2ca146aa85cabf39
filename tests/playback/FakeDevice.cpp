// SPDX-License-Identifier: MIT
#include "tests/playback/FakeDevice.h"

#include <chrono>
#include <cstring>

#include "sonrel/playback/detail/FrameAudioBuffer.h"

namespace sonrel_tests {

namespace {

constexpr std::chrono::seconds TIMEOUT{20};  // only a broken build meets it

Submission Copy(const device::SourceBuffer& buffer) {
    Submission copy;
    copy.samples.resize(buffer.audioBytes / 2);
    std::memcpy(copy.samples.data(), buffer.audioData, buffer.audioBytes);
    copy.context = buffer.context;
    copy.endOfStream = buffer.endOfStream;
    if (buffer.context != nullptr) {
        const auto& stamps =
            *static_cast<const orlo::sonrel::detail::FrameAudioBuffer*>(buffer.context);
        copy.videoFrame = stamps.videoFrame;
        copy.firstSample = stamps.firstSample;
        copy.endSample = stamps.endSample;
    }
    return copy;
}

}  // namespace

class FakeSourceVoice : public device::SourceVoice {
public:
    explicit FakeSourceVoice(FakeDevice& device) : device_(device) {}
    ~FakeSourceVoice() override {
        const std::lock_guard guard(device_.mutex_);
        --device_.sourceVoicesOpen_;
        device_.voiceOrder_.emplace_back("-source");
        device_.events_ = nullptr;
        device_.queue_.clear();
        device_.dropped_.clear();
        device_.started_ = device_.sounding_ = false;
    }

    bool SubmitSourceBuffer(const device::SourceBuffer& buffer) override {
        return device_.Submit(buffer);
    }
    bool Start() override {
        const std::lock_guard guard(device_.mutex_);
        if (device_.refuseStart) return false;
        device_.started_ = true;
        return true;
    }
    bool Stop() override {
        const std::lock_guard guard(device_.mutex_);
        device_.started_ = false;
        return true;
    }
    bool FlushSourceBuffers() override { return device_.Flush(); }
    device::VoiceState GetState() const override {
        const device::VoiceState state = {static_cast<unsigned int>(device_.Queued())};
        if (device_.onState) device_.onState();
        return state;
    }

private:
    FakeDevice& device_;
};

class FakeMasteringVoice : public device::MasteringVoice {
public:
    explicit FakeMasteringVoice(FakeDevice& device) : device_(device) {}
    ~FakeMasteringVoice() override {
        const std::lock_guard guard(device_.mutex_);
        --device_.masteringVoicesOpen_;
        device_.voiceOrder_.emplace_back("-mastering");
    }
    orlo::sonrel::AudioOutputState State() const override { return {}; }

private:
    FakeDevice& device_;
};

class FakeEngine : public device::AudioDevice {
public:
    explicit FakeEngine(FakeDevice& device) : device_(device) {}

    bool InitThread() override {
        const std::lock_guard guard(device_.mutex_);
        if (device_.refuseThread) return false;
        ++device_.threadsInUse_;
        return true;
    }
    void UninitThread() override {
        const std::lock_guard guard(device_.mutex_);
        --device_.threadsInUse_;
    }
    std::unique_ptr<device::MasteringVoice> CreateMasteringVoice(int /*channelCount*/,
                                                                 int sampleRate) override {
        const std::lock_guard guard(device_.mutex_);
        ++device_.masteringVoicesMade_;
        device_.lastRate_ = sampleRate;
        if (device_.refuseMasteringVoice) return nullptr;
        ++device_.masteringVoicesOpen_;
        device_.voiceOrder_.emplace_back("+mastering");
        return std::make_unique<FakeMasteringVoice>(device_);
    }
    std::unique_ptr<device::SourceVoice> CreateSourceVoice(device::MasteringVoice& /*mastering*/,
                                                           const device::WaveFormat& /*format*/,
                                                           device::VoiceEvents& events) override {
        const std::lock_guard guard(device_.mutex_);
        ++device_.sourceVoicesMade_;
        if (device_.refuseSourceVoice) return nullptr;
        ++device_.sourceVoicesOpen_;
        device_.voiceOrder_.emplace_back("+source");
        device_.events_ = &events;
        return std::make_unique<FakeSourceVoice>(device_);
    }

private:
    FakeDevice& device_;
};

std::unique_ptr<device::AudioDevice> FakeDevice::MakeEngine() {
    return std::make_unique<FakeEngine>(*this);
}

bool FakeDevice::Submit(const device::SourceBuffer& buffer) {
    {
        const std::lock_guard guard(mutex_);
        submissions_.push_back(Copy(buffer));
        if (!refuseSubmission) {
            queue_.push_back({submissions_.size() - 1, buffer.context, buffer.endOfStream});
        }
    }
    changed_.notify_all();
    return !refuseSubmission;
}

bool FakeDevice::Flush() {
    if (refuseFlush) return false;
    {
        const std::lock_guard guard(mutex_);
        if (started_) flushMarks_.push_back(heard_.size());
        const std::size_t spared = started_ && sounding_ ? 1 : 0;
        for (std::size_t i = spared; i < queue_.size(); ++i) dropped_.push_back(queue_[i].context);
        queue_.resize(spared);
        sounding_ = spared == 1;
    }
    if (!holdDropped) ReportDropped();
    return true;
}

bool FakeDevice::BeginBuffer() {
    QueuedBuffer begun{};
    {
        const std::lock_guard guard(mutex_);
        if (!started_ || sounding_ || queue_.empty()) return false;
        sounding_ = true;
        begun = queue_.front();
        heard_.push_back(begun.submission);
    }
    events_->OnBufferStart(begun.context);
    return true;
}

void FakeDevice::EndBuffer() {
    QueuedBuffer ended{};
    {
        const std::lock_guard guard(mutex_);
        ended = queue_.front();
        queue_.pop_front();
        ++ended_;
        sounding_ = false;
    }
    events_->OnBufferEnd(ended.context);
    if (ended.endOfStream) events_->OnStreamEnd();
}

bool FakeDevice::PlayBuffer() {
    if (!BeginBuffer()) return false;
    EndBuffer();
    return true;
}

void FakeDevice::ReportDropped() {
    std::vector<void*> contexts;
    {
        const std::lock_guard guard(mutex_);
        contexts.swap(dropped_);
    }
    for (void* context : contexts) events_->OnBufferEnd(context);
}

void FakeDevice::ReportStreamEnd() {
    events_->OnStreamEnd();
}

bool FakeDevice::WaitForQueued(std::size_t buffers) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, TIMEOUT, [&] { return queue_.size() >= buffers; });
}

bool FakeDevice::WaitForSubmissions(std::size_t buffers) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, TIMEOUT, [&] { return submissions_.size() >= buffers; });
}

std::vector<Submission> FakeDevice::Submissions() const {
    const std::lock_guard guard(mutex_);
    return submissions_;
}

std::vector<Submission> FakeDevice::Heard() const {
    const std::lock_guard guard(mutex_);
    std::vector<Submission> heard;
    for (const std::size_t index : heard_) heard.push_back(submissions_[index]);
    return heard;
}

std::size_t FakeDevice::HeardCount() const {
    const std::lock_guard guard(mutex_);
    return heard_.size();
}

std::optional<long long> FakeDevice::LastHeardSample() const {
    const std::lock_guard guard(mutex_);
    if (heard_.empty()) return std::nullopt;
    return submissions_[heard_.back()].firstSample;
}

std::size_t FakeDevice::EndedCount() const {
    const std::lock_guard guard(mutex_);
    return ended_;
}

std::vector<std::size_t> FakeDevice::FlushMarks() const {
    const std::lock_guard guard(mutex_);
    return flushMarks_;
}

std::size_t FakeDevice::Queued() const {
    const std::lock_guard guard(mutex_);
    return queue_.size() + dropped_.size();
}

bool FakeDevice::Started() const {
    const std::lock_guard guard(mutex_);
    return started_;
}

int FakeDevice::MasteringVoicesMade() const {
    const std::lock_guard guard(mutex_);
    return masteringVoicesMade_;
}

int FakeDevice::MasteringVoicesOpen() const {
    const std::lock_guard guard(mutex_);
    return masteringVoicesOpen_;
}

int FakeDevice::SourceVoicesMade() const {
    const std::lock_guard guard(mutex_);
    return sourceVoicesMade_;
}

int FakeDevice::SourceVoicesOpen() const {
    const std::lock_guard guard(mutex_);
    return sourceVoicesOpen_;
}

int FakeDevice::LastRate() const {
    const std::lock_guard guard(mutex_);
    return lastRate_;
}

std::vector<std::string> FakeDevice::VoiceOrder() const {
    const std::lock_guard guard(mutex_);
    return voiceOrder_;
}

int FakeDevice::ThreadsInUse() const {
    const std::lock_guard guard(mutex_);
    return threadsInUse_;
}

}  // namespace sonrel_tests
