// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/SdlOutput.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/playback/device/AutoResetEvent.h"
#include "sonrel/playback/device/CallbackSignal.h"

namespace orlo::sonrel::device {

namespace {

constexpr int MAX_PERIOD = 32768;  // the library's field has 16 bits

}  // namespace

/// One opened device: the data of its callback and of closing it.
struct SdlStream {
    std::shared_ptr<const SdlLibrary> library;
    std::shared_ptr<AudioOutputSource> source;
    CallbackGate pulls;
    std::atomic<bool> pullsEnded = false;
    AutoResetEvent closed;
    SDL_AudioDeviceID device = 0;
    std::chrono::milliseconds drain{0};  // time to close: the library plays two periods

    /// Ends the pulling, and waits for a pull under way unless it is called from inside it.
    void EndPulls() {
        pullsEnded = true;
        pulls.WaitUntilLeft();
    }
    /// Waits for a callback under way, and for the sound server.
    void Close() {
        library->closeAudioDevice(device);
        library->quitSubSystem(SDL_INIT_AUDIO);
        closed.Signal();
    }
};

namespace {

void Callback(void* userData, Uint8* bytes, int byteCount) noexcept {
    auto& stream = *static_cast<SdlStream*>(userData);
    const CallbackGate::Scope pull(stream.pulls);
    if (stream.pullsEnded) {
        std::memset(bytes, 0, static_cast<std::size_t>(byteCount));
    } else {
        stream.source->Pull(reinterpret_cast<short*>(bytes), byteCount / zrtl::FRAME_BYTES);
    }
}

}  // namespace

int SdlPeriod(int sampleRate, int bufferMs) {
    int frames = 1;
    while (frames < MAX_PERIOD && frames * 1000LL < static_cast<long long>(bufferMs) * sampleRate) {
        frames *= 2;
    }
    return frames;
}

SdlOutput::SdlOutput(std::shared_ptr<const SdlLibrary> library, int bufferMs)
    : library_(std::move(library)), bufferMs_(bufferMs) {}

SdlOutput::~SdlOutput() {
    SdlOutput::Close();
    FinishClosing();
    for (SdlCloser& closer : closers_) closer.thread.detach();
}

/// Waits for the streams that are being closed, except for a stream whose pull this is.
/// @return false when the library does not finish
bool SdlOutput::FinishClosing() {
    const auto finished = [](SdlCloser& closer) {
        if (closer.stream->pulls.IsInside()) return false;
        closer.stream->EndPulls();
        const auto timeout = std::exchange(closer.timeout, std::chrono::milliseconds(0));
        if (!closer.stream->closed.WaitFor(timeout)) return false;
        closer.thread.join();
        return true;
    };
    closers_.erase(std::remove_if(closers_.begin(), closers_.end(), finished), closers_.end());
    return std::all_of(closers_.begin(), closers_.end(),
                       [](const SdlCloser& closer) { return closer.stream->pulls.IsInside(); });
}

bool SdlOutput::Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) {
    if (!FinishClosing()) return false;
    if (library_->initSubSystem(SDL_INIT_AUDIO) != 0) return false;
    auto stream = std::make_shared<SdlStream>();
    stream->library = library_;
    stream->source = std::move(source);
    SDL_AudioSpec wanted = {};
    wanted.freq = sampleRate;
    wanted.format = AUDIO_S16SYS;
    wanted.channels = 2;
    wanted.samples = static_cast<Uint16>(SdlPeriod(sampleRate, bufferMs_));
    wanted.callback = Callback;
    wanted.userdata = stream.get();
    SDL_AudioSpec got = {};
    stream->drain = std::chrono::milliseconds(2000 * wanted.samples / sampleRate);
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
    // On a separate thread: inside a pull the library would wait for its own thread, which is this
    // thread, and with a frozen sound server it would wait for ever.
    std::thread close([stream] { stream->Close(); });
    closers_.push_back({stream, std::move(close), CLOSE_TIMEOUT + stream->drain});
    stream->EndPulls();
    FinishClosing();
}

bool SdlOutput::IsLost() const {
    return stream_ != nullptr &&
           library_->getAudioDeviceStatus(stream_->device) == SDL_AUDIO_STOPPED;
}

}  // namespace orlo::sonrel::device
