// SPDX-License-Identifier: MIT
#include "sonrel/playback/VirtualOutput.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "sonrel/playback/detail/SampleFile.h"

namespace orlo::sonrel {

namespace {

using std::chrono::steady_clock;

constexpr int VALUES_PER_FRAME = 2;
/// Frames of one pull at most.
constexpr int CHUNK_FRAMES = 1024;
constexpr int PACED_PULLS_PER_SECOND = 100;
/// A paced output that is further behind than this has lost the time, as a device would.
constexpr std::chrono::milliseconds LOST_TIME{200};

}  // namespace

/// One opening of an output: what its thread works on. All but the source is guarded by the mutex
/// of the output.
struct VirtualSession {
    std::shared_ptr<AudioOutputSource> source;
    int sampleRate = 0;
    std::thread::id thread;
    bool ending = false;        // asked for by Close
    bool ended = false;         // nothing of this session runs any more
    bool awake = false;         // the source has changed
    bool bufferAsked = false;   // AdvanceBuffer waits for a buffer
    long long framesAsked = 0;  // left of Advance
    long long framesGiven = 0;  // taken since it was asked
};

/// Held by the output and by its threads, which may outlive it when it ends inside a pull.
struct VirtualOutputImpl {
    using Clock = VirtualOutput::Clock;

    const Clock clock;
    const VirtualOutput::Sink sink;
    const bool keepsSamples;
    const std::unique_ptr<SampleFile> file;

    mutable std::mutex mutex;  // guards what follows
    std::condition_variable changed;
    std::shared_ptr<VirtualSession> session;  // empty while closed
    std::thread thread;
    std::vector<short> samples;
    long long framesTaken = 0;
    bool failed = false;
    bool refusing = false;
    bool silent = false;  // a device that has stopped calling back

    std::mutex steps;  // one step at a time; taken before the other

    VirtualOutputImpl(Clock theClock, VirtualOutput::Sink theSink, bool keeps,
                      std::unique_ptr<SampleFile> theFile)
        : clock(theClock),
          sink(std::move(theSink)),
          keepsSamples(keeps),
          file(std::move(theFile)) {}
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
        output_->changed.notify_all();
    }

private:
    /// Pulls without the lock and hands on what was taken.
    int Pull(Lock& lock, int frameCount) {
        const bool handsOn = output_->sink && !output_->failed;
        lock.unlock();
        short* const room = frameCount > 0 ? scratch_.data() : nullptr;
        const int taken = session_->source->Pull(room, frameCount);
        const bool failed = taken > 0 && handsOn && !output_->sink(scratch_.data(), taken);
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
        if (output_->file != nullptr && !output_->failed) {
            output_->failed = !output_->file->Write(scratch_.data(), taken);
        }
    }

    int Ready(Lock& lock) {
        lock.unlock();
        const int ready = session_->source->ReadyFrames();
        lock.lock();
        return ready;
    }

    void FollowRequests(Lock& lock) {
        output_->changed.wait(lock, [this] {
            return session_->ending ||
                   (!output_->silent && (session_->awake || session_->framesAsked > 0));
        });
        if (session_->ending) return;
        if (session_->awake) {
            session_->awake = false;
            Pull(lock, 0);
            FollowQueue(lock);
        }
        if (session_->framesAsked > 0 && !output_->silent) Step(lock);
    }

    /// What a change of the source leads to.
    void FollowQueue(Lock& lock) {
        if (output_->silent) return;
        const int ready = Ready(lock);
        if (ready == 0) return;
        if (output_->clock == VirtualOutput::Clock::DrainDriven) {
            Pull(lock, std::min(ready, CHUNK_FRAMES));
            session_->awake = true;
        } else if (session_->bufferAsked) {
            session_->bufferAsked = false;
            session_->framesAsked = ready;
        }
    }

    void Step(Lock& lock) {
        const int frames =
            static_cast<int>(std::min<long long>(session_->framesAsked, CHUNK_FRAMES));
        const int taken = Pull(lock, frames);
        session_->framesGiven += taken;
        session_->framesAsked = std::max<long long>(0, session_->framesAsked - frames);
        if (session_->framesAsked == 0) output_->changed.notify_all();
    }

    /// One period of a paced output. Its pulls stand on a fixed grid of times, so that the rate
    /// holds whatever a single wait takes.
    void KeepPace(Lock& lock) {
        const auto wake = anchor_ + std::chrono::nanoseconds(std::chrono::seconds(1)) *
                                        framesPulled_ / session_->sampleRate;
        output_->changed.wait_until(lock, wake, [this] { return session_->ending; });
        if (session_->ending) return;
        if (output_->silent) {
            Restart();
            output_->changed.wait(lock, [this] { return session_->ending || !output_->silent; });
            return Restart();
        }
        if (steady_clock::now() - wake > LOST_TIME) Restart();
        const int frames = std::max(1, session_->sampleRate / PACED_PULLS_PER_SECOND);
        Pull(lock, frames);
        framesPulled_ += frames;
    }

    void Restart() {
        anchor_ = steady_clock::now();
        framesPulled_ = 0;
    }

    const std::shared_ptr<VirtualOutputImpl> output_;
    const std::shared_ptr<VirtualSession> session_;
    std::array<short, std::size_t{CHUNK_FRAMES}* VALUES_PER_FRAME> scratch_ = {};
    steady_clock::time_point anchor_;
    long long framesPulled_ = 0;  // since the anchor
};

constexpr int WHOLE_BUFFER = 0;

/// Has the thread of a stepped output move on, and waits for it.
/// @param frameCount  frames, or WHOLE_BUFFER
int TakeStep(VirtualOutputImpl& output, int frameCount, std::chrono::milliseconds patience) {
    {
        const Lock lock(output.mutex);
        const bool insidePull =
            output.session != nullptr && output.session->thread == std::this_thread::get_id();
        if (output.clock != VirtualOutput::Clock::Stepped || insidePull) return 0;
    }
    const Lock step(output.steps);
    Lock lock(output.mutex);
    const std::shared_ptr<VirtualSession> session = output.session;
    if (session == nullptr || output.silent) return 0;
    session->framesGiven = 0;
    session->framesAsked = frameCount;
    session->bufferAsked = frameCount == WHOLE_BUFFER;
    session->awake = session->awake || session->bufferAsked;
    output.changed.notify_all();
    const auto done = [&] {
        return session->ended || output.silent ||
               (!session->bufferAsked && session->framesAsked <= 0);
    };
    if (session->bufferAsked) output.changed.wait_for(lock, patience, done);
    if (!std::exchange(session->bufferAsked, false)) output.changed.wait(lock, done);
    session->framesAsked = 0;
    return static_cast<int>(session->framesGiven);
}

}  // namespace

VirtualOutput::VirtualOutput(Clock clock) : VirtualOutput(clock, Sink()) {}

VirtualOutput::VirtualOutput(Clock clock, Sink sink)
    : impl_(std::make_shared<VirtualOutputImpl>(clock, std::move(sink), false, nullptr)) {}

VirtualOutput::~VirtualOutput() {
    VirtualOutput::Close();
}

std::shared_ptr<VirtualOutput> VirtualOutput::ToMemory(Clock clock) {
    auto output = std::make_shared<VirtualOutput>(clock);
    output->impl_ = std::make_shared<VirtualOutputImpl>(clock, Sink(), true, nullptr);
    return output;
}

std::shared_ptr<VirtualOutput> VirtualOutput::ToFile(Clock clock, const std::wstring& path) {
    auto output = std::make_shared<VirtualOutput>(clock);
    output->impl_ = std::make_shared<VirtualOutputImpl>(clock, Sink(), false,
                                                        std::make_unique<SampleFile>(path));
    return output;
}

bool VirtualOutput::Open(int sampleRate, std::shared_ptr<AudioOutputSource> source) {
    const Lock lock(impl_->mutex);
    if (impl_->refusing || impl_->session != nullptr) return false;
    if (impl_->file != nullptr && !impl_->file->Open(sampleRate)) {
        impl_->failed = true;
        return false;
    }
    auto session = std::make_shared<VirtualSession>();
    session->source = std::move(source);
    session->sampleRate = sampleRate;
    // The thread's buffers are made here: it allocates nothing.
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
        impl_->session.reset();
        thread = std::move(impl_->thread);
    }
    impl_->changed.notify_all();
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();  // ends when this pull has returned
    } else {
        thread.join();
    }
}

void VirtualOutput::Wake() {
    {
        const Lock lock(impl_->mutex);
        if (impl_->session == nullptr) return;
        impl_->session->awake = true;
    }
    impl_->changed.notify_all();
}

int VirtualOutput::Advance(int frameCount) {
    return frameCount > 0 ? TakeStep(*impl_, frameCount, std::chrono::milliseconds(0)) : 0;
}

int VirtualOutput::AdvanceBuffer(std::chrono::milliseconds patience) {
    return TakeStep(*impl_, WHOLE_BUFFER, patience);
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

bool VirtualOutput::FinishFile() {
    const Lock lock(impl_->mutex);
    if (impl_->file != nullptr && !impl_->file->Finish()) impl_->failed = true;
    return !impl_->failed;
}

void VirtualOutput::RefuseToOpen(bool refuse) {
    const Lock lock(impl_->mutex);
    impl_->refusing = refuse;
}

void VirtualOutput::StopCallingBack(bool stop) {
    {
        const Lock lock(impl_->mutex);
        impl_->silent = stop;
    }
    impl_->changed.notify_all();
}

}  // namespace orlo::sonrel
