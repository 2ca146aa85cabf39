// SPDX-License-Identifier: MIT
// The voice between the commands of playback and the thread of an output.
//
// The output's thread must never wait: it shares only atomics with the other threads and takes no
// lock. The lock of the commands orders Submit, Start, Stop, Flush, Attach and Detach among
// themselves and is not held while a callback runs, so that a callback may give any command.
//
// Each buffer is a node with an atomic state (BufferQueue.h): Queued, Sounding, then Ended or
// Dropped. The pulling thread and a flush both change it with compare-and-exchange, and the first
// one wins; the loser leaves the node alone. So a flush needs no lock against the device, and a
// buffer ends exactly once.
//
// Where a command must know that the device does not use something any more, the command waits. Two
// gates mark the device's work: section_ is one copy of samples together with the OnBufferStart
// before it, pulls_ is a whole pull with all its callbacks. Stop and Flush wait for section_: after
// they have returned, no sample is taken and no dropped memory is read. Detach waits for pulls_:
// after it has returned, no callback runs. A command from inside a callback is on the pulling
// thread and waits for neither, or it would wait for itself.
//
// Dropped buffers are reported by the next pull, before the end of the spared buffer. A lost device
// pulls no more, and a device whose callback waits for the host pulls too late: FlushReporter then
// reports them on its own thread. TakeDropped hands each node to exactly one of the two.
#include "sonrel/playback/device/Voice.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "sonrel/base/StereoFrame.h"

namespace orlo::sonrel::device {

namespace {

constexpr std::size_t VALUES_PER_FRAME = 2;

}  // namespace

Voice::Voice(std::weak_ptr<AudioOutput> output)
    : output_(std::move(output)), reporter_([this] { ReportDropped(); }) {}

Voice::~Voice() = default;

bool Voice::Attach(VoiceEvents& events) {
    const std::lock_guard lock(commands_);
    VoiceEvents* none = nullptr;
    return events_.compare_exchange_strong(none, &events);
}

void Voice::Detach() {
    {
        const std::lock_guard lock(commands_);
        running_ = false;
        events_ = nullptr;
        queue_.Drop(true);
    }
    ReportDropped();
    pulls_.WaitUntilLeft();
    reporter_.WaitUntilIdle();
}

bool Voice::Submit(const SourceBuffer& buffer) {
    const std::size_t frames = buffer.audioBytes / zrtl::FRAME_BYTES;
    if (buffer.audioData == nullptr || frames == 0 || buffer.audioBytes % zrtl::FRAME_BYTES != 0 ||
        frames > std::numeric_limits<int>::max()) {
        return false;
    }
    {
        const std::lock_guard lock(commands_);
        queue_.Push(buffer, static_cast<int>(frames));
    }
    WakeOutput();
    return true;
}

void Voice::Start() {
    {
        const std::lock_guard lock(commands_);
        running_ = true;
    }
    WakeOutput();
}

void Voice::Stop() {
    {
        const std::lock_guard lock(commands_);
        running_ = false;
    }
    section_.WaitUntilLeft();
}

void Voice::Flush() {
    bool dropped = false;
    {
        const std::lock_guard lock(commands_);
        dropped = queue_.Drop(!running_);
    }
    section_.WaitUntilLeft();
    if (!dropped) return;
    // From inside a callback at once: nothing is pulled before the callback has returned, and the
    // caller may wait for the ends.
    reporter_.Expect(pulls_.IsInside());
    WakeOutput();
}

int Voice::Pull(short* output, int frameCount) {
    const CallbackGate::Scope pull(pulls_);
    ReportDropped();
    int taken = 0;
    while (taken < frameCount && running_) {
        QueueNode* const node = queue_.Front();
        if (node == nullptr) break;
        taken += Take(*node, output + taken * VALUES_PER_FRAME, frameCount - taken);
    }
    if (taken < frameCount) {
        std::memset(output + taken * VALUES_PER_FRAME, 0, (frameCount - taken) * zrtl::FRAME_BYTES);
    }
    framesPulled_ += frameCount;
    return taken;
}

int Voice::ReadyFrames() {
    if (!running_) return 0;
    const QueueNode* const node = queue_.Front();
    if (node == nullptr) return 0;
    return node->state == BufferState::Sounding ? node->frameCount - progress_ : node->frameCount;
}

/// @return the frames copied; 0 when a command came first
int Voice::Take(QueueNode& node, short* output, int room) {
    int count = 0;
    {
        const CallbackGate::Scope section(section_);
        if (!running_) return 0;
        if (node.Move(BufferState::Queued, BufferState::Sounding)) {
            progress_ = 0;
            if (VoiceEvents* const events = events_) events->OnBufferStart(node.buffer.context);
        }
        if (!running_ || node.state != BufferState::Sounding) return 0;
        count = std::min(room, node.frameCount - progress_);
        std::memcpy(output, node.buffer.audioData + progress_ * zrtl::FRAME_BYTES,
                    count * zrtl::FRAME_BYTES);
        progress_ += count;
    }
    if (progress_ == node.frameCount) End(node);
    return count;
}

void Voice::End(QueueNode& node) {
    // The ends of a flush are reported before the end of the buffer that it spared.
    ReportDropped();
    if (!node.Move(BufferState::Sounding, BufferState::Ended)) return;
    const SourceBuffer buffer = node.buffer;
    queue_.Discount();
    if (VoiceEvents* const events = events_) events->OnBufferEnd(buffer.context);
    node.settled = true;
    if (!buffer.endOfStream) return;
    if (VoiceEvents* const events = events_) events->OnStreamEnd();
}

/// On the pulling thread, the reporter's thread and, without a listener, the thread of Detach.
void Voice::ReportDropped() {
    for (QueueNode* node = queue_.TakeDropped(); node != nullptr;) {
        QueueNode* const next = node->nextDropped;
        void* const context = node->buffer.context;
        queue_.Discount();
        node->settled = true;
        if (VoiceEvents* const events = events_) events->OnBufferEnd(context);
        node = next;
    }
}

void Voice::WakeOutput() {
    if (const std::shared_ptr<AudioOutput> output = output_.lock()) output->Wake();
}

}  // namespace orlo::sonrel::device
