// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "sonrel/playback/device/AudioDevice.h"

namespace sonrel_tests {

namespace device = orlo::sonrel::device;

/// A buffer as it was handed to the voice.
struct Submission {
    std::vector<short> samples;
    void* context = nullptr;
    bool endOfStream = false;
    // The stamps of a buffer of a run. A single frame has no context and keeps these.
    int videoFrame = -2;
    long long firstSample = -2;
    long long endSample = -2;

    int FrameCount() const { return static_cast<int>(samples.size() / 2); }
};

/// A sound device that a test plays by hand, buffer by buffer, on the test's own thread. It refuses
/// what the test wants refused, and keeps all that it was given.
class FakeDevice {
public:
    // What it refuses. Set before the call that is to be refused.
    bool refuseThread = false;
    bool refuseMasteringVoice = false;
    bool refuseSourceVoice = false;
    bool refuseStart = false;
    bool refuseSubmission = false;
    bool refuseFlush = false;
    /// Runs whenever the voice is asked for its state, on the asking thread.
    std::function<void()> onState;
    /// Keeps the ends of what a flush drops until ReportDropped. Left alone the flush reports them.
    bool holdDropped = false;

    /// The device engine that plays on this device. The device outlives it.
    std::unique_ptr<device::AudioDevice> MakeEngine();

    /// The next buffer begins to sound. @return false with nothing queued or a stopped voice
    bool BeginBuffer();
    /// The buffer that sounds comes to its end.
    void EndBuffer();
    /// Both. @return as BeginBuffer
    bool PlayBuffer();
    /// Reports the ends that holdDropped has kept.
    void ReportDropped();
    /// Reports the end of a stream as a device does that comes late with it.
    void ReportStreamEnd();

    /// Waits for the worker. @return false when it does not come to it
    bool WaitForQueued(std::size_t buffers);
    bool WaitForSubmissions(std::size_t buffers);

    /// All that was submitted, dropped or not.
    std::vector<Submission> Submissions() const;
    /// What began to sound, in order.
    std::vector<Submission> Heard() const;
    std::size_t HeardCount() const;
    /// The first sample of the buffer that began to sound last; empty before.
    std::optional<long long> LastHeardSample() const;
    /// Buffers that have been played to their end.
    std::size_t EndedCount() const;
    /// How many buffers had begun to sound at each flush of a voice that was not stopped.
    std::vector<std::size_t> FlushMarks() const;
    /// Buffers that the voice counts, those whose dropping is not reported included.
    std::size_t Queued() const;
    bool Started() const;

    int MasteringVoicesMade() const;
    int MasteringVoicesOpen() const;
    int SourceVoicesMade() const;
    int SourceVoicesOpen() const;
    int LastRate() const;
    /// What was made and destroyed, in order: "+mastering", "+source", "-source", "-mastering".
    std::vector<std::string> VoiceOrder() const;
    /// Threads that said that they use the device, less those that said that they are done.
    int ThreadsInUse() const;

private:
    friend class FakeEngine;
    friend class FakeMasteringVoice;
    friend class FakeSourceVoice;

    struct QueuedBuffer {
        std::size_t submission;
        void* context;
        bool endOfStream;
    };

    bool Submit(const device::SourceBuffer& buffer);
    bool Flush();

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    device::VoiceEvents* events_ = nullptr;
    std::vector<Submission> submissions_;
    std::vector<std::size_t> heard_;
    std::size_t ended_ = 0;
    std::vector<std::size_t> flushMarks_;
    std::deque<QueuedBuffer> queue_;
    std::vector<void*> dropped_;
    bool started_ = false;
    bool sounding_ = false;
    int masteringVoicesMade_ = 0;
    int masteringVoicesOpen_ = 0;
    int sourceVoicesMade_ = 0;
    int sourceVoicesOpen_ = 0;
    int lastRate_ = 0;
    std::vector<std::string> voiceOrder_;
    int threadsInUse_ = 0;
};

}  // namespace sonrel_tests
