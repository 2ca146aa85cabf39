// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "sonrel/playback/AudioOutput.h"
#include "sonrel/playback/device/AudioDevice.h"
#include "sonrel/playback/device/BufferQueue.h"
#include "sonrel/playback/device/CallbackSignal.h"
#include "sonrel/playback/device/FlushReporter.h"

namespace orlo::sonrel::device {

/// The source voice of an output: hosts queue buffers, the output pulls samples. Voice.cpp begins
/// with the design.
///
/// Threads: Pull and ReadyFrames on the output's thread, everything else on any.
class Voice : public AudioOutputSource {
public:
    /// A voice without a listener, which is silent.
    /// @param output  woken when the source has changed; not kept alive
    explicit Voice(std::weak_ptr<AudioOutput> output);
    ~Voice() override;
    Voice(const Voice&) = delete;
    Voice& operator=(const Voice&) = delete;

    /// Makes @p events the listener. @return false when the voice has a listener
    bool Attach(VoiceEvents& events);
    /// Stops, drops the queue without reports and releases the listener.
    void Detach();

    bool Submit(const SourceBuffer& buffer);
    void Start();
    void Stop();
    void Flush();
    unsigned int BuffersQueued() const { return queue_.Count(); }

    /// Frames that the output has pulled, silence included. Any thread.
    long long FramesPulled() const { return framesPulled_.load(); }

    int Pull(short* output, int frameCount) override;
    int ReadyFrames() override;

private:
    int Take(QueueNode& node, short* output, int room);
    void End(QueueNode& node);
    void ReportDropped();
    void WakeOutput();

    const std::weak_ptr<AudioOutput> output_;
    std::mutex commands_;  // orders Submit, Start, Stop, Flush, Attach and Detach
    BufferQueue queue_;
    std::atomic<VoiceEvents*> events_ = nullptr;
    std::atomic<bool> running_ = false;
    CallbackGate section_;  // a buffer begins, or samples are copied
    CallbackGate pulls_;
    std::atomic<long long> framesPulled_ = 0;
    int progress_ = 0;  ///< frames taken of the sounding buffer; pulling thread only
    FlushReporter reporter_;
};

}  // namespace orlo::sonrel::device
