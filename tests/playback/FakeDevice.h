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

/// A buffer as it was submitted to the voice.
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

/// A sound device that a test steps buffer by buffer, on the test's own thread. It refuses the
/// operations that the test selects, and keeps all buffers.
class FakeDevice {
public:
    // The operations that it refuses. Set before the call.
    bool refuseThread = false;
    bool refuseMasteringVoice = false;
    bool refuseSourceVoice = false;
    bool refuseStart = false;
    bool refuseSubmission = false;
    bool refuseFlush = false;
    /// Runs whenever the voice is asked for its state, on the asking thread.
    std::function<void()> onState;
    /// Holds back the ends of dropped buffers until ReportDropped. Otherwise the flush reports
    /// them.
    bool holdDropped = false;

    /// The device engine that plays on this device. The device outlives it.
    std::unique_ptr<device::AudioDevice> MakeEngine();

    /// The next buffer begins to sound. @return false with nothing queued or a stopped voice
    bool BeginBuffer();
    /// The sounding buffer ends.
    void EndBuffer();
    /// Both. @return as BeginBuffer
    bool PlayBuffer();
    /// Reports the ends that holdDropped has held back.
    void ReportDropped();
    /// Reports the end of a stream, like a device that is late.
    void ReportStreamEnd();

    /// Waits for the worker. @return false after a time-out
    bool WaitForQueued(std::size_t buffers);
    bool WaitForSubmissions(std::size_t buffers);

    /// All that was submitted, dropped or not.
    std::vector<Submission> Submissions() const;
    /// The buffers that began to sound, in order.
    std::vector<Submission> Heard() const;
    std::size_t HeardCount() const;
    /// The first sample of the buffer that began to sound last; empty before.
    std::optional<long long> LastHeardSample() const;
    /// Buffers that have been played to their end.
    std::size_t EndedCount() const;
    /// How many buffers had begun to sound at each flush of a voice that was not stopped.
    std::vector<std::size_t> FlushMarks() const;
    /// Buffers that the voice counts, including dropped buffers that are not reported yet.
    std::size_t Queued() const;
    bool Started() const;

    int MasteringVoicesMade() const;
    int MasteringVoicesOpen() const;
    int SourceVoicesMade() const;
    int SourceVoicesOpen() const;
    int LastRate() const;
    /// The voices made and destroyed, in order: "+mastering", "+source", "-source", "-mastering".
    std::vector<std::string> VoiceOrder() const;
    /// Threads that have called InitThread and not UninitThread.
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
