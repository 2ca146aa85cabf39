// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
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
    std::thread thread;
    std::chrono::milliseconds timeout;  ///< 0 once it has passed
};

/// How long Close waits for the sound library, in addition to the two periods that the library
/// plays before it closes; the library waits without a limit for its sound server.
constexpr std::chrono::milliseconds CLOSE_TIMEOUT{1000};

/// The default device of the sound library, in signed 16-bit stereo.
///
/// The library's audio part is initialised when the output opens, so that a missing device, an
/// unknown driver name and a refused rate all fail there. Where the device runs at another rate
/// than requested, the library converts after the output.
///
/// A driver with a single device refuses to open from inside a pull, where the former stream is
/// still being closed; it opens again after that pull has returned.
///
/// A frozen sound server keeps the library from closing. Close still returns after its timeout, and
/// nothing is pulled any more; Open fails until the library has closed.
class SdlOutput : public AudioOutput {
public:
    /// @param bufferMs  length of the device's buffer, 5 to 500 ms; see SdlPeriod
    SdlOutput(std::shared_ptr<const SdlLibrary> library, int bufferMs);
    ~SdlOutput() override;
    SdlOutput(const SdlOutput&) = delete;
    SdlOutput& operator=(const SdlOutput&) = delete;

    bool Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) override;
    void Close() override;
    bool IsLost() const override;

private:
    bool FinishClosing();

    const std::shared_ptr<const SdlLibrary> library_;
    const int bufferMs_;
    std::shared_ptr<SdlStream> stream_;
    std::vector<SdlCloser> closers_;
};

/// Frames that the device takes at a time: the smallest power of two that lasts at least
/// @p bufferMs, and at most 32768, the maximum of the library. The library's buffers misbehave at
/// sizes that are not a power of two.
int SdlPeriod(int sampleRate, int bufferMs);

}  // namespace orlo::sonrel::device
