// SPDX-License-Identifier: MIT
#include "host/play/PlayOutput.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "host/output/OutputFile.h"
#include "host/output/OutputName.h"
#include "host/output/SoundFormat.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/playback/AudioBuffer.h"

namespace orlo::host {

namespace {

using sonrel::VirtualOutput;

/// Time for which a step waits for a buffer before the program checks for keys and interrupts.
constexpr std::chrono::milliseconds STEP_TIMEOUT{50};

/// Frames of the engine that are queued on an output.
constexpr double QUEUED_FRAMES = 49.0;
constexpr double MIN_QUEUE_SECONDS = 0.5;
constexpr double MIN_QUEUE_BUFFERS = 8.0;

static_assert(std::endian::native == std::endian::little, "bare samples are little-endian");

constexpr std::string_view RAW_EXTENSIONS[] = {".raw", ".pcm"};

bool IsRawName(const std::string& path) {
    const auto* const end = std::end(RAW_EXTENSIONS);
    return std::find(std::begin(RAW_EXTENSIONS), end, ExtensionOf(path)) != end;
}

/// Writes samples without a header.
class RawWriter : public SoundWriter {
public:
    RawWriter(const std::string& path, OutputGuard& guard, long long frames)
        : output_(path, guard) {
        output_.RequireSpace(frames * zrtl::FRAME_BYTES);
    }

    void Write(const short* frames, long long count) override {
        output_.Write({reinterpret_cast<const char*>(frames),
                       static_cast<std::size_t>(count * zrtl::FRAME_BYTES)});
    }
    void Seal() override { output_.Seal(); }
    void Finish() override { output_.Commit(); }

private:
    OutputFile output_;
};

}  // namespace

PlayFile::PlayFile(const std::string& path, OutputGuard& guard, int rate, long long frames) {
    if (IsRawName(path)) {
        writer_ = std::make_unique<RawWriter>(path, guard, frames);
    } else {
        writer_ = OpenSoundWriter(path, guard, rate, frames, SoundWriter::Length::AtMost);
    }
}

bool PlayFile::Write(const short* frames, int count) {
    try {
        writer_->Write(frames, count);
        return true;
    } catch (...) {
        failure_ = std::current_exception();
        return false;
    }
}

void PlayFile::Finish() {
    if (failure_) std::rethrow_exception(failure_);
    writer_->Finish();
}

std::vector<std::string_view> PlayFile::Extensions() {
    std::vector<std::string_view> extensions = SoundExtensions();
    extensions.insert(extensions.end(), std::begin(RAW_EXTENSIONS), std::end(RAW_EXTENSIONS));
    return extensions;
}

double PlayOutput::MaxFrameRate(int rate, int bufferMs) {
    const double buffer = static_cast<double>(sonrel::AudioBufferFrames(rate, bufferMs)) / rate;
    return QUEUED_FRAMES / std::max(MIN_QUEUE_SECONDS, MIN_QUEUE_BUFFERS * buffer);
}

bool PlayOutput::IsFileName(const std::string& output) {
    return output != DEVICE && output != NULL_OUTPUT;
}

PlayOutput::PlayOutput(const std::string& output, OutputGuard& guard, int rate, long long frames,
                       int bufferMs) {
    if (IsFileName(output)) {
        file_ = std::make_unique<PlayFile>(output, guard, rate, frames);
        virtual_ = std::make_shared<VirtualOutput>(
            VirtualOutput::Clock::Stepped, [file = file_.get()](const short* samples, int count) {
                return file->Write(samples, count);
            });
    } else if (output == NULL_OUTPUT) {
        virtual_ = std::make_shared<VirtualOutput>(VirtualOutput::Clock::Paced);
    }
    if (virtual_) sonrel::SetAudioOutputFactory([target = virtual_] { return target; });
    sonrel::SetAudioBufferMilliseconds(bufferMs);
}

PlayOutput::~PlayOutput() {
    sonrel::SetAudioOutputFactory(nullptr);
}

void PlayOutput::Step() {
    virtual_->AdvanceBuffer(STEP_TIMEOUT);
    // Finish throws when the file could not be written, for example on a full disk.
    if (virtual_->Failed()) file_->Finish();
}

long long PlayOutput::FramesTaken() const {
    return virtual_ ? virtual_->FramesTaken() : 0;
}

void PlayOutput::Finish() {
    if (file_) file_->Finish();
}

}  // namespace orlo::host
