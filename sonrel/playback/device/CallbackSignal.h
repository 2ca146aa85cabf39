// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <thread>

namespace orlo::sonrel::device {

/// A count that a callback of the device advances and that other threads wait for.
///
/// A thread that waits for a condition reads the count, tests the condition, and waits past the
/// count: an advance after the reading is never missed.
///
/// Threads: any. Advance takes no lock, allocates nothing and never waits.
class CallbackSignal {
public:
    using Count = unsigned int;

    Count Seen() const { return count_.load(); }
    void Advance() {
        count_.fetch_add(1);
        count_.notify_all();
    }
    /// Returns when the count differs from @p seen.
    void WaitPast(Count seen) const { count_.wait(seen); }

private:
    static_assert(std::atomic<Count>::is_always_lock_free);

    std::atomic<Count> count_ = 0;
};

/// Work of the device's thread that other threads wait for. It is the waiting thread that pays:
/// entering and leaving take no lock and never wait.
///
/// Threads: one at a time enters and leaves; everything else on any.
class CallbackGate {
public:
    /// Enters for the length of a scope.
    class Scope {
    public:
        explicit Scope(CallbackGate& gate) : gate_(gate) { gate_.Enter(); }
        ~Scope() { gate_.Leave(); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        CallbackGate& gate_;
    };

    void Enter() {
        thread_ = std::this_thread::get_id();
        turns_.Advance();
    }
    void Leave() {
        thread_ = std::thread::id();
        turns_.Advance();
    }

    /// Whether a thread is inside.
    bool IsBusy() const { return turns_.Seen() % 2 != 0; }
    /// Whether the calling thread is inside.
    bool IsInside() const { return thread_.load() == std::this_thread::get_id(); }
    /// Returns when the work that was under way at the call has finished, and at once on the thread
    /// that is inside. Does not wait for work that begins later.
    void WaitUntilLeft() const {
        const CallbackSignal::Count seen = turns_.Seen();
        if (seen % 2 != 0 && !IsInside()) turns_.WaitPast(seen);
    }

private:
    CallbackSignal turns_;  // odd while a thread is inside
    std::atomic<std::thread::id> thread_ = std::thread::id();
};

}  // namespace orlo::sonrel::device
