// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/BufferQueue.h"

namespace orlo::sonrel::device {

namespace {

/// Buffers that queue without an allocation; the ring of playback has 50.
constexpr int PREPARED_NODES = 64;

}  // namespace

// The list always begins with a node that the device has passed: the cursor.
BufferQueue::BufferQueue() {
    nodes_.reserve(PREPARED_NODES + 1);
    spare_.reserve(PREPARED_NODES + 1);
    walk_.reserve(PREPARED_NODES + 1);
    for (int i = 0; i <= PREPARED_NODES; ++i) {
        nodes_.push_back(std::make_unique<QueueNode>());
        spare_.push_back(nodes_.back().get());
    }
    cursor_ = oldest_ = newest_ = NewNode();
    cursor_->settled = true;
}

BufferQueue::~BufferQueue() = default;

QueueNode* BufferQueue::NewNode() {
    if (spare_.empty()) {
        nodes_.push_back(std::make_unique<QueueNode>());
        return nodes_.back().get();
    }
    QueueNode* const node = spare_.back();
    spare_.pop_back();
    return node;
}

void BufferQueue::Recycle() {
    while (oldest_ != newest_ && oldest_->passed && oldest_->settled) {
        QueueNode* const done = oldest_;
        oldest_ = done->next;
        spare_.push_back(done);
    }
}

void BufferQueue::Push(const SourceBuffer& buffer, int frameCount) {
    Recycle();
    QueueNode* const node = NewNode();
    node->buffer = buffer;
    node->frameCount = frameCount;
    node->state = BufferState::Queued;
    node->next = nullptr;
    node->passed = false;
    node->settled = false;
    count_.fetch_add(1);
    newest_->next = node;
    newest_ = node;
}

bool BufferQueue::Drop(bool soundingToo) {
    Recycle();
    walk_.clear();
    for (QueueNode* node = oldest_; node != nullptr; node = node->next) walk_.push_back(node);

    // From the newest to the oldest: the device may begin a node meanwhile, and every node after a
    // begun node must already be dropped, or the device would continue after the gap.
    QueueNode* chain = nullptr;
    for (std::size_t i = walk_.size(); i-- > 0;) {
        QueueNode* const node = walk_[i];
        const bool dropped =
            node->Move(BufferState::Queued, BufferState::Dropped) ||
            (soundingToo && node->Move(BufferState::Sounding, BufferState::Dropped));
        if (!dropped) continue;
        node->nextDropped = chain;
        chain = node;
    }
    if (chain == nullptr) return false;

    // The nodes of an earlier drop come first.
    if (QueueNode* const earlier = dropped_.exchange(nullptr)) {
        QueueNode* last = earlier;
        while (last->nextDropped != nullptr) last = last->nextDropped;
        last->nextDropped = chain;
        chain = earlier;
    }
    dropped_ = chain;
    return true;
}

QueueNode* BufferQueue::Front() {
    for (;;) {
        QueueNode* const node = cursor_->next;
        if (node == nullptr) return nullptr;
        const BufferState state = node->state;
        if (state == BufferState::Queued || state == BufferState::Sounding) return node;
        QueueNode* const done = cursor_;
        cursor_ = node;
        done->passed = true;
    }
}

}  // namespace orlo::sonrel::device
