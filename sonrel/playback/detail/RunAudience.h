// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "sonrel/playback/device/CallbackSignal.h"

namespace orlo::sonrel {

class AbstractAudioMeterObserver;

namespace detail {

/// Receives the end-of-run notification of one run: its observers, then its completion callback.
///
/// Threads: Begin and Notify on the device's thread, everything else on the command thread. A
/// callback may itself be the command thread: then the notification is cancelled from inside.
class RunAudience {
public:
    RunAudience() = default;
    RunAudience(std::vector<AbstractAudioMeterObserver*> observers,
                std::function<void(void*)> completion, void* userData);
    RunAudience(const RunAudience&) = delete;
    RunAudience& operator=(const RunAudience&) = delete;

    const std::vector<AbstractAudioMeterObserver*>& Observers() const { return observers_; }
    const std::function<void(void*)>& Completion() const { return completion_; }
    void* UserData() const { return userData_; }

    /// Announces the notification: from here on Cancel waits for it.
    void Begin() { notifying_.Enter(); }
    /// Calls the observers in order and the completion callback, up to a Cancel. An exception ends
    /// only the call that threw it: no caller on this thread can receive it.
    void Notify() noexcept;

    /// No call begins any more, and none is running, unless this is called from inside that call.
    /// A notification that has not begun is not prevented.
    void Cancel();
    /// Whether a call is still running. After Cancel only the call that it was called from.
    bool IsNotifying() const { return notifying_.IsBusy(); }
    /// Destroys the callback here and not on the device's thread, which may hold the last
    /// reference. After a notification, or without one.
    void Release();

private:
    template <class Function>
    void Call(Function function) noexcept;

    std::vector<AbstractAudioMeterObserver*> observers_;
    std::function<void(void*)> completion_;
    void* userData_ = nullptr;
    device::CallbackGate notifying_;
    std::atomic<bool> cancelled_ = false;
};

}  // namespace detail
}  // namespace orlo::sonrel
