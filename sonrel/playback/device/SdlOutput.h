// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "sonrel/playback/AudioOutput.h"
#include "sonrel/playback/device/SdlLibrary.h"

namespace orlo::sonrel::device {

struct SdlStream;

/// A stream that is being closed on a separate thread.
struct SdlCloser {
    std::shared_ptr<SdlStream> stream;
    std::future<void> closed;
    std::thread thread;
    std::chrono::milliseconds timeout;  ///< 0 once it has passed
};

/// How long Close waits for the sound library, which waits without a limit for its sound server.
constexpr std::chrono::milliseconds CLOSE_TIMEOUT{1000};

/// The default device of the sound library, in signed 16-bit stereo.
///
/// The library's audio part is brought up when the output opens, so that a missing device, a driver
/// name that it does not know and a rate that it refuses all show there. Where the device runs at
/// another rate than the one asked for, the library converts behind the output.
///
/// A driver that has one device at a time refuses to open from inside a pull, where the former
/// stream is still being closed; it opens again once that pull has returned.
///
/// A sound server that is frozen keeps the library from closing. Close returns after CLOSE_TIMEOUT
/// all the same, and nothing is pulled any more; Open fails until the library has closed.
class SdlOutput : public AudioOutput {
public:
    explicit SdlOutput(std::shared_ptr<const SdlLibrary> library);
    ~SdlOutput() override;
    SdlOutput(const SdlOutput&) = delete;
    SdlOutput& operator=(const SdlOutput&) = delete;

    bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) override;
    void Close() override;
    bool IsLost() const override;

private:
    bool FinishClosing();

    const std::shared_ptr<const SdlLibrary> library_;
    std::shared_ptr<SdlStream> stream_;
    std::vector<SdlCloser> closers_;
};

/// Frames that the device takes at a time: the largest power of two that lasts at most 12 ms. The
/// library's buffers misbehave at other numbers.
int SdlPeriod(int sampleRate);

}  // namespace orlo::sonrel::device
