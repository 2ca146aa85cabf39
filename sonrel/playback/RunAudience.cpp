// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/RunAudience.h"

#include <utility>

#include "sonrel/playback/AbstractAudioMeterObserver.h"

namespace orlo::sonrel::detail {

RunAudience::RunAudience(std::vector<AbstractAudioMeterObserver*> observers,
                         std::function<void(void*)> completion, void* userData)
    : observers_(std::move(observers)), completion_(std::move(completion)), userData_(userData) {}

void RunAudience::Notify() noexcept {
    for (AbstractAudioMeterObserver* observer : observers_) {
        Call([observer] { observer->OnMeterSessionStop(); });
    }
    if (completion_) Call([this] { completion_(userData_); });
    notifying_.Leave();
}

template <class Function>
void RunAudience::Call(Function function) noexcept {
    if (cancelled_) return;
    try {
        function();
    } catch (...) {
        // Documented in PlaybackEngine.h: dropped, and the next call follows.
    }
}

void RunAudience::Cancel() {
    cancelled_ = true;
    notifying_.WaitUntilLeft();
}

void RunAudience::Release() {
    observers_.clear();
    completion_ = nullptr;
}

}  // namespace orlo::sonrel::detail
