// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel::device {

/// Where a buffer stands on its way. Dropped and Ended are final.
enum class BufferState : int { Queued = 0, Sounding = 1, Dropped = 2, Ended = 3 };

/// A buffer in a queue. The plain fields are written before the node is linked.
struct QueueNode {
    SourceBuffer buffer;
    int frameCount = 0;
    std::atomic<BufferState> state = BufferState::Ended;
    std::atomic<QueueNode*> next = nullptr;
    std::atomic<bool> passed = false;   ///< the device looks at it no more
    std::atomic<bool> settled = false;  ///< its end has been told, or nobody is left to tell
    QueueNode* nextDropped = nullptr;

    /// Moves on from one state to another. @return false when it was not in the first one
    bool Move(BufferState from, BufferState to) { return state.compare_exchange_strong(from, to); }
};

/// A queue of buffers between hosts and a device that never waits for them.
///
/// The device walks a linked list; what it is done with is used again by the other side, so that
/// neither allocates in the long run. The state of a node decides between a flush and the device:
/// whoever moves it first has it.
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

    /// Drops what has not begun and, if asked, what sounds. The dropped nodes wait for TakeDropped
    /// and count until they are settled.
    /// @return whether anything was dropped
    bool Drop(bool soundingToo);

    /// Takes over the nodes that a drop has left, in queue order through nextDropped; the caller
    /// settles each. Null when there are none. Wait-free.
    QueueNode* TakeDropped() { return dropped_.exchange(nullptr); }

    /// The node that sounds or would begin next; null when there is none. Wait-free.
    QueueNode* Front();

    /// Takes a node that was dropped or has ended out of the count.
    void Discount() { count_.fetch_sub(1); }
    /// Nodes that have not been taken out of the count.
    unsigned int Count() const { return count_.load(); }

private:
    QueueNode* NewNode();
    void Recycle();

    std::vector<std::unique_ptr<QueueNode>> nodes_;  // all there are
    std::vector<QueueNode*> spare_;                  // of them, those that are in no list
    std::vector<QueueNode*> walk_;                   // of Drop
    QueueNode* oldest_;                              // the list as the hosts' side sees it
    QueueNode* newest_;
    QueueNode* cursor_;                          // the device's: the last node it is done with
    std::atomic<QueueNode*> dropped_ = nullptr;  // chained by nextDropped
    std::atomic<unsigned int> count_ = 0;
};

}  // namespace orlo::sonrel::device
