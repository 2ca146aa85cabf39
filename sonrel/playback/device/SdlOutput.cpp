// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/SdlOutput.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace orlo::sonrel::device {

namespace {

constexpr int BYTES_PER_FRAME = 4;
constexpr int LONGEST_PERIOD_MS = 12;

}  // namespace

/// One opened device: what its callback needs, and what closing it needs.
struct SdlStream {
    std::shared_ptr<const SdlLibrary> library;
    std::shared_ptr<AudioOutputSource> source;
    std::atomic<std::thread::id> pullThread = std::thread::id();  // none between pulls
    SDL_AudioDeviceID device = 0;

    bool InsidePull() const { return pullThread.load() == std::this_thread::get_id(); }
    /// Waits for a callback under way.
    void Close() {
        library->closeAudioDevice(device);
        library->quitSubSystem(SDL_INIT_AUDIO);
    }
};

namespace {

void Callback(void* userData, Uint8* bytes, int byteCount) noexcept {
    auto& stream = *static_cast<SdlStream*>(userData);
    stream.pullThread = std::this_thread::get_id();
    stream.source->Pull(reinterpret_cast<short*>(bytes), byteCount / BYTES_PER_FRAME);
    stream.pullThread = std::thread::id();
}

}  // namespace

int SdlPeriod(int sampleRate) {
    int frames = 1;
    while (2 * frames * 1000LL <= static_cast<long long>(LONGEST_PERIOD_MS) * sampleRate) {
        frames *= 2;
    }
    return frames;
}

SdlOutput::SdlOutput(std::shared_ptr<const SdlLibrary> library) : library_(std::move(library)) {}

SdlOutput::~SdlOutput() {
    SdlOutput::Close();
    FinishClosing();
    for (SdlCloser& closer : closers_) closer.thread.detach();
}

/// Waits for the streams that are being closed, but for one whose pull this is.
void SdlOutput::FinishClosing() {
    const auto finished = [](SdlCloser& closer) {
        if (closer.stream->InsidePull()) return false;
        closer.thread.join();
        return true;
    };
    closers_.erase(std::remove_if(closers_.begin(), closers_.end(), finished), closers_.end());
}

bool SdlOutput::Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) {
    FinishClosing();
    if (library_->initSubSystem(SDL_INIT_AUDIO) != 0) return false;
    auto stream = std::make_shared<SdlStream>();
    stream->library = library_;
    stream->source = std::move(source);
    SDL_AudioSpec wanted = {};
    wanted.freq = sampleRate;
    wanted.format = AUDIO_S16SYS;
    wanted.channels = 2;
    wanted.samples = static_cast<Uint16>(SdlPeriod(sampleRate));
    wanted.callback = Callback;
    wanted.userdata = stream.get();
    SDL_AudioSpec got = {};
    stream->device = library_->openAudioDevice(nullptr, 0, &wanted, &got, 0);
    if (stream->device == 0) {
        library_->quitSubSystem(SDL_INIT_AUDIO);
        return false;
    }
    stream_ = std::move(stream);
    library_->pauseAudioDevice(stream_->device, 0);
    return true;
}

void SdlOutput::Close() {
    const std::shared_ptr<SdlStream> stream = std::move(stream_);
    stream_.reset();
    if (stream == nullptr) return;
    if (stream->InsidePull()) {
        // The library waits for its own thread, which is this one: somebody else has to.
        closers_.push_back({stream, std::thread([stream] { stream->Close(); })});
    } else {
        stream->Close();
    }
}

}  // namespace orlo::sonrel::device
