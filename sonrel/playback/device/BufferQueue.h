// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel::device {

/// The state of a buffer. Dropped and Ended are final.
enum class BufferState : int { Queued = 0, Sounding = 1, Dropped = 2, Ended = 3 };

/// A buffer in a queue. The plain fields are written before the node is linked.
struct QueueNode {
    SourceBuffer buffer;
    int frameCount = 0;
    std::atomic<BufferState> state = BufferState::Ended;
    std::atomic<QueueNode*> next = nullptr;
    std::atomic<bool> passed = false;   ///< the device does not read it any more
    std::atomic<bool> settled = false;  ///< its end has been reported, or has no listener
    QueueNode* nextDropped = nullptr;

    /// Changes the state. @return false when the state was not @p from
    bool Move(BufferState from, BufferState to) { return state.compare_exchange_strong(from, to); }
};

/// A queue of buffers between hosts and a device, which never waits for them.
///
/// The device walks a linked list. The other side recycles the nodes that the device has passed, so
/// that neither allocates in the long run. Flush and device compete for a node by its state: the
/// first to change it wins.
///
/// Threads: Push and Drop by one caller at a time; Front on the device's thread; the others on any.
class BufferQueue {
public:
    BufferQueue();
    ~BufferQueue();
    BufferQueue(const BufferQueue&) = delete;
    BufferQueue& operator=(const BufferQueue&) = delete;

    /// Queues a buffer of @p frameCount frames, above 0.
    void Push(const SourceBuffer& buffer, int frameCount);

    /// Drops the nodes that have not begun and, if requested, the sounding node. The dropped nodes
    /// wait for TakeDropped and count until they are settled.
    /// @return whether anything was dropped
    bool Drop(bool soundingToo);

    /// Takes over the dropped nodes, in queue order through nextDropped; the caller settles each.
    /// Null when there are none. Wait-free.
    QueueNode* TakeDropped() { return dropped_.exchange(nullptr); }

    /// The sounding node, or the next one when none sounds; null when there is none. Wait-free.
    QueueNode* Front();

    /// Removes a node that was dropped or has ended from the count.
    void Discount() { count_.fetch_sub(1); }
    /// Nodes that are not discounted.
    unsigned int Count() const { return count_.load(); }

private:
    QueueNode* NewNode();
    void Recycle();

    std::vector<std::unique_ptr<QueueNode>> nodes_;  // all nodes
    std::vector<QueueNode*> spare_;                  // the nodes that are in no list
    std::vector<QueueNode*> walk_;                   // scratch of Drop
    QueueNode* oldest_;                              // the list as the hosts' side knows it
    QueueNode* newest_;
    QueueNode* cursor_;                          // the device's: the last node that it has passed
    std::atomic<QueueNode*> dropped_ = nullptr;  // chained by nextDropped
    std::atomic<unsigned int> count_ = 0;
};

}  // namespace orlo::sonrel::device
