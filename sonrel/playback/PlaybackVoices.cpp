// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackVoices.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "sonrel/base/Numbers.h"
#include "sonrel/playback/detail/DeviceFactory.h"

namespace orlo::sonrel::detail {

using Err = PlaybackEngine::Err;

namespace {

constexpr std::int64_t MAX_BUFFER = 3600LL * 96000;  // samples: an hour at the highest rate

/// Samples in one buffer: a video frame, rounded up, so that no buffer is shorter than its frame.
/// @throws std::length_error when no memory holds fifty of these frames
std::size_t SamplesPerBuffer(int sampleRate, double frameRate) {
    const std::int64_t samples = zrtl::TruncToInt64(std::ceil(sampleRate / frameRate));
    if (samples < 1 || samples > MAX_BUFFER) throw std::length_error("Video frame too long");
    return static_cast<std::size_t>(samples);
}

}  // namespace

PlaybackVoices::PlaybackVoices() : device_(MakeAudioDevice()) {
    if (!device_->InitThread()) throw std::runtime_error("COM not initialized");
}

PlaybackVoices::~PlaybackVoices() {
    source_.reset();
    mastering_.reset();
    device_->UninitThread();
}

Err PlaybackVoices::Open(const TargetFormat& format, device::VoiceEvents& events) {
    Close();
    const Err result = MakeVoices(format, events);
    if (result == Err::NoError) MakeBuffers(format);
    return result;
}

void PlaybackVoices::Close() {
    source_.reset();
    mastering_.reset();
    buffers_.clear();
}

Err PlaybackVoices::MakeVoices(const TargetFormat& format, device::VoiceEvents& events) {
    mastering_ = device_->CreateMasteringVoice(format.channelCount, format.sampleRate);
    if (!mastering_) return Err::MasteringVoiceFailed;
    device::WaveFormat wave;
    wave.channelCount = format.channelCount;
    wave.sampleRate = format.sampleRate;
    source_ = device_->CreateSourceVoice(*mastering_, wave, events);
    return source_ ? Err::NoError : Err::SourceVoiceFailed;
}

void PlaybackVoices::MakeBuffers(const TargetFormat& format) {
    const std::size_t samples = SamplesPerBuffer(format.sampleRate, format.frameRate);
    for (int i = 0; i < FRAME_BUFFER_COUNT; ++i) {
        buffers_.push_back(std::make_unique<FrameAudioBuffer>(samples));
    }
}

AudioOutputState PlaybackVoices::OutputState() const {
    return mastering_ ? mastering_->State() : AudioOutputState();
}

void PlaybackVoices::SilenceBuffers() {
    for (const auto& buffer : buffers_) {
        std::fill(buffer->samples.begin(), buffer->samples.end(), short{0});
    }
}

bool PlaybackVoices::Submit(const FrameAudioBuffer& buffer, void* context, bool endOfStream) {
    device::SourceBuffer submission;
    submission.audioBytes = buffer.SizeInBytes();
    submission.audioData = reinterpret_cast<const unsigned char*>(buffer.samples.data());
    submission.context = context;
    submission.endOfStream = endOfStream;
    return source_->SubmitSourceBuffer(submission);
}

}  // namespace orlo::sonrel::detail
