// SPDX-License-Identifier: MIT
#include "sonrel/playback/VirtualOutput.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <thread>
#include <utility>

#include "sonrel/playback/device/AutoResetEvent.h"

namespace orlo::sonrel {

namespace {

using std::chrono::steady_clock;

constexpr int VALUES_PER_FRAME = 2;
constexpr int MAX_PULL_FRAMES = 1024;
constexpr int PACED_PULLS_PER_SECOND = 100;
/// A paced output that is later than this gives up the lost time, as a device does.
constexpr std::chrono::milliseconds MAX_DELAY{200};

}  // namespace

/// One opening of an output: the state of its thread. The mutex of the output guards everything
/// except the source and the events.
struct VirtualSession {
    std::shared_ptr<AudioOutputSource> source;
    int sampleRate = 0;
    std::thread::id thread;
    bool ending = false;        // requested by Close
    bool ended = false;         // the thread of this session has finished
    bool awake = false;         // the source has changed
    bool bufferAsked = false;   // AdvanceBuffer waits for a buffer
    long long framesAsked = 0;  // that remain of a step
    long long framesGiven = 0;  // taken since the step began
    device::AutoResetEvent requested;
    device::AutoResetEvent stepped;
};

/// Held by the output and by its threads, which outlive the output when it is destroyed inside a
/// pull.
struct VirtualOutputImpl {
    using Clock = VirtualOutput::Clock;

    const Clock clock;
    const VirtualOutput::Sink sink;
    const bool keepsSamples;

    mutable std::mutex mutex;                 // guards the following members
    std::shared_ptr<VirtualSession> session;  // empty while closed
    std::thread thread;
    std::vector<short> samples;
    long long framesTaken = 0;
    bool failed = false;

    std::mutex steps;  // one step at a time; locked before the other mutex

    VirtualOutputImpl(Clock theClock, VirtualOutput::Sink theSink, bool keeps)
        : clock(theClock), sink(std::move(theSink)), keepsSamples(keeps) {}
};

namespace {

using Lock = std::unique_lock<std::mutex>;

/// The thread of one session.
class Runner {
public:
    Runner(std::shared_ptr<VirtualOutputImpl> output, std::shared_ptr<VirtualSession> session)
        : output_(std::move(output)), session_(std::move(session)) {}

    void Run() {
        Lock lock(output_->mutex);
        session_->thread = std::this_thread::get_id();
        anchor_ = steady_clock::now();
        while (!session_->ending) {
            if (output_->clock == VirtualOutput::Clock::Paced) {
                KeepPace(lock);
            } else {
                FollowRequests(lock);
            }
        }
        session_->ended = true;
        session_->stepped.Signal();
    }

private:
    /// Pulls without the lock and passes on the frames that the voice gave.
    int Pull(Lock& lock, int frameCount) {
        const bool passesOn = output_->sink && !output_->failed;
        lock.unlock();
        short* const room = frameCount > 0 ? scratch_.data() : nullptr;
        const int taken = session_->source->Pull(room, frameCount);
        const bool failed = taken > 0 && passesOn && !output_->sink(scratch_.data(), taken);
        lock.lock();
        if (failed) output_->failed = true;
        if (taken > 0) Keep(taken);
        return taken;
    }

    void Keep(int taken) {
        output_->framesTaken += taken;
        if (output_->keepsSamples) {
            output_->samples.insert(output_->samples.end(), scratch_.data(),
                                    scratch_.data() + taken * VALUES_PER_FRAME);
        }
    }

    int Ready(Lock& lock) {
        lock.unlock();
        const int ready = session_->source->ReadyFrames();
        lock.lock();
        return ready;
    }

    void FollowRequests(Lock& lock) {
        if (!session_->awake && session_->framesAsked == 0) {
            lock.unlock();
            session_->requested.Wait();
            lock.lock();
            return;
        }
        if (session_->awake) {
            session_->awake = false;
            Pull(lock, 0);
            FollowQueue(lock);
        }
        if (session_->framesAsked > 0) Step(lock);
    }

    /// Reacts to a change of the source.
    void FollowQueue(Lock& lock) {
        const int ready = Ready(lock);
        if (ready == 0) return;
        if (output_->clock == VirtualOutput::Clock::DrainDriven) {
            Pull(lock, std::min(ready, MAX_PULL_FRAMES));
            session_->awake = true;
        } else if (session_->bufferAsked) {
            session_->bufferAsked = false;
            session_->framesAsked = ready;
        }
    }

    void Step(Lock& lock) {
        const int frames =
            static_cast<int>(std::min<long long>(session_->framesAsked, MAX_PULL_FRAMES));
        const int taken = Pull(lock, frames);
        session_->framesGiven += taken;
        session_->framesAsked = std::max<long long>(0, session_->framesAsked - frames);
        if (session_->framesAsked == 0) session_->stepped.Signal();
    }

    /// One period of a paced output. Its pulls are on a fixed grid of times, so that the rate holds
    /// however long a single wait takes.
    void KeepPace(Lock& lock) {
        const auto wake = anchor_ + std::chrono::nanoseconds(std::chrono::seconds(1)) *
                                        framesPulled_ / session_->sampleRate;
        lock.unlock();
        session_->requested.WaitUntil(wake);  // only Close signals a paced output
        lock.lock();
        if (session_->ending) return;
        if (steady_clock::now() - wake > MAX_DELAY) {
            anchor_ = steady_clock::now();
            framesPulled_ = 0;
        }
        const int frames = std::max(1, session_->sampleRate / PACED_PULLS_PER_SECOND);
        Pull(lock, frames);
        framesPulled_ += frames;
    }

    const std::shared_ptr<VirtualOutputImpl> output_;
    const std::shared_ptr<VirtualSession> session_;
    std::array<short, std::size_t{MAX_PULL_FRAMES}* VALUES_PER_FRAME> scratch_ = {};
    steady_clock::time_point anchor_;
    long long framesPulled_ = 0;  // since the anchor
};

constexpr int WHOLE_BUFFER = 0;

/// Waits until the session's thread has taken the step; for a buffer to begin, until @p deadline.
void WaitForStep(Lock& lock, VirtualSession& session, steady_clock::time_point deadline) {
    while (!session.ended && (session.bufferAsked || session.framesAsked > 0)) {
        const bool mayGiveUp = session.bufferAsked;
        lock.unlock();
        if (mayGiveUp) {
            session.stepped.WaitUntil(deadline);
        } else {
            session.stepped.Wait();
        }
        lock.lock();
        if (steady_clock::now() >= deadline) session.bufferAsked = false;
    }
    session.bufferAsked = false;
    session.framesAsked = 0;
}

/// Moves a stepped output on, and waits for it.
/// @param frameCount  frames, or WHOLE_BUFFER
int TakeStep(VirtualOutputImpl& output, int frameCount, std::chrono::milliseconds timeout) {
    {
        const Lock lock(output.mutex);
        const bool insidePull =
            output.session != nullptr && output.session->thread == std::this_thread::get_id();
        if (output.clock != VirtualOutput::Clock::Stepped || insidePull) return 0;
    }
    const Lock step(output.steps);
    Lock lock(output.mutex);
    const std::shared_ptr<VirtualSession> session = output.session;
    if (session == nullptr) return 0;
    session->framesGiven = 0;
    session->framesAsked = frameCount;
    session->bufferAsked = frameCount == WHOLE_BUFFER;
    session->awake = session->awake || session->bufferAsked;
    session->requested.Signal();
    WaitForStep(lock, *session, steady_clock::now() + timeout);
    return static_cast<int>(session->framesGiven);
}

}  // namespace

VirtualOutput::VirtualOutput(Clock clock) : VirtualOutput(clock, Sink()) {}

VirtualOutput::VirtualOutput(Clock clock, Sink sink)
    : impl_(std::make_shared<VirtualOutputImpl>(clock, std::move(sink), false)) {}

VirtualOutput::~VirtualOutput() {
    VirtualOutput::Close();
}

std::shared_ptr<VirtualOutput> VirtualOutput::ToMemory(Clock clock) {
    auto output = std::make_shared<VirtualOutput>(clock);
    output->impl_ = std::make_shared<VirtualOutputImpl>(clock, Sink(), true);
    return output;
}

bool VirtualOutput::Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) {
    const Lock lock(impl_->mutex);
    if (impl_->session != nullptr) return false;
    auto session = std::make_shared<VirtualSession>();
    session->source = std::move(source);
    session->sampleRate = sampleRate;
    // The thread's buffers are allocated here: the thread allocates nothing.
    auto runner = std::make_shared<Runner>(impl_, session);
    impl_->thread = std::thread([runner] { runner->Run(); });
    impl_->session = std::move(session);
    return true;
}

void VirtualOutput::Close() {
    std::thread thread;
    {
        const Lock lock(impl_->mutex);
        if (impl_->session == nullptr) return;
        impl_->session->ending = true;
        impl_->session->requested.Signal();
        impl_->session.reset();
        thread = std::move(impl_->thread);
    }
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();  // ends when this pull has returned
    } else {
        thread.join();
    }
}

void VirtualOutput::Wake() {
    const Lock lock(impl_->mutex);
    if (impl_->session == nullptr || impl_->clock == Clock::Paced) return;
    impl_->session->awake = true;
    impl_->session->requested.Signal();
}

int VirtualOutput::Advance(int frameCount) {
    return frameCount > 0 ? TakeStep(*impl_, frameCount, std::chrono::milliseconds(0)) : 0;
}

int VirtualOutput::AdvanceBuffer(std::chrono::milliseconds timeout) {
    return TakeStep(*impl_, WHOLE_BUFFER, timeout);
}

bool VirtualOutput::IsOpen() const {
    return SampleRate() != 0;
}

int VirtualOutput::SampleRate() const {
    const Lock lock(impl_->mutex);
    return impl_->session != nullptr ? impl_->session->sampleRate : 0;
}

long long VirtualOutput::FramesTaken() const {
    const Lock lock(impl_->mutex);
    return impl_->framesTaken;
}

std::vector<short> VirtualOutput::Samples() const {
    const Lock lock(impl_->mutex);
    return impl_->samples;
}

bool VirtualOutput::Failed() const {
    const Lock lock(impl_->mutex);
    return impl_->failed;
}

}  // namespace orlo::sonrel
