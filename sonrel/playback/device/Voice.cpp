// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/Voice.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace orlo::sonrel::device {

namespace {

constexpr std::size_t BYTES_PER_FRAME = 4;
constexpr std::size_t VALUES_PER_FRAME = 2;

/// Makes a counter odd while a piece of work that others wait for is under way.
class Section {
public:
    explicit Section(std::atomic<unsigned int>& counter) : counter_(counter) {
        counter_.fetch_add(1);
    }
    ~Section() { counter_.fetch_add(1); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

private:
    std::atomic<unsigned int>& counter_;
};

/// Returns when the work that was under way at the call is done.
void WaitUntilLeft(const std::atomic<unsigned int>& counter) {
    const unsigned int seen = counter;
    if (seen % 2 == 0) return;
    for (int turn = 0; counter == seen; ++turn) {
        if (turn < 100) {
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }
}

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
    WaitForPull();
    reporter_.WaitUntilIdle();
}

bool Voice::Submit(const SourceBuffer& buffer) {
    const std::size_t frames = buffer.audioBytes / BYTES_PER_FRAME;
    if (buffer.audioData == nullptr || frames == 0 || buffer.audioBytes % BYTES_PER_FRAME != 0 ||
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
    WaitForSection();
}

void Voice::Flush() {
    bool dropped = false;
    {
        const std::lock_guard lock(commands_);
        dropped = queue_.Drop(!running_);
    }
    WaitForSection();
    if (!dropped) return;
    // From inside a callback: nothing is pulled before the callback has returned, and the caller
    // may be about to wait for the ends.
    reporter_.Expect(OnPullThread());
    WakeOutput();
}

int Voice::Pull(short* output, int frameCount) {
    const Section pull(pulls_);
    pullThread_ = std::this_thread::get_id();
    ReportDropped();
    int taken = 0;
    while (taken < frameCount && running_) {
        QueueNode* const node = queue_.Front();
        if (node == nullptr) break;
        taken += Take(*node, output + taken * VALUES_PER_FRAME, frameCount - taken);
    }
    if (taken < frameCount) {
        std::memset(output + taken * VALUES_PER_FRAME, 0, (frameCount - taken) * BYTES_PER_FRAME);
    }
    framesPulled_ += frameCount;
    pullThread_ = std::thread::id();
    return taken;
}

int Voice::ReadyFrames() {
    if (!running_) return 0;
    const QueueNode* const node = queue_.Front();
    if (node == nullptr) return 0;
    return node->state == BufferState::Sounding ? node->frameCount - progress_ : node->frameCount;
}

/// @return the frames copied; 0 when a command was faster
int Voice::Take(QueueNode& node, short* output, int room) {
    int count = 0;
    {
        const Section section(section_);
        if (!running_) return 0;
        if (node.Move(BufferState::Queued, BufferState::Sounding)) {
            progress_ = 0;
            if (VoiceEvents* const events = events_) events->OnBufferStart(node.buffer.context);
        }
        if (!running_ || node.state != BufferState::Sounding) return 0;
        count = std::min(room, node.frameCount - progress_);
        std::memcpy(output, node.buffer.audioData + progress_ * BYTES_PER_FRAME,
                    count * BYTES_PER_FRAME);
        progress_ += count;
    }
    if (progress_ == node.frameCount) End(node);
    return count;
}

void Voice::End(QueueNode& node) {
    // A flush has its ends told before that of the buffer that it spared.
    ReportDropped();
    if (!node.Move(BufferState::Sounding, BufferState::Ended)) return;
    const SourceBuffer buffer = node.buffer;
    queue_.Discount();
    if (VoiceEvents* const events = events_) events->OnBufferEnd(buffer.context);
    node.settled = true;
    if (!buffer.endOfStream) return;
    if (VoiceEvents* const events = events_) events->OnStreamEnd();
}

/// On the pulling thread, on the reporter's and, without a listener, on that of Detach.
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

void Voice::WaitForSection() const {
    if (!OnPullThread()) WaitUntilLeft(section_);
}

void Voice::WaitForPull() const {
    if (!OnPullThread()) WaitUntilLeft(pulls_);
}

}  // namespace orlo::sonrel::device
