// SPDX-License-Identifier: MIT
#include "tests/playback/storms/StormAudience.h"

namespace sonrel_tests {

namespace {

constexpr std::chrono::milliseconds PAUSE{2};
constexpr int SLEEPING = 2;
constexpr int THROWING = 3;

}  // namespace

StormAudience::StormAudience(StormFaults& faults) : faults_(faults) {
    for (int number = 0; number < OBSERVERS; ++number) {
        observers_[static_cast<std::size_t>(number)].audience = this;
        observers_[static_cast<std::size_t>(number)].number = number;
    }
}

orlo::sonrel::AbstractAudioMeterObserver* StormAudience::Observer(int number) {
    return &observers_[static_cast<std::size_t>(number)];
}

std::function<void(void*)> StormAudience::NextCompletion(int kind) {
    ++run_;
    starts_ = std::make_shared<std::atomic<int>>(1);
    if (kind == 0) return nullptr;
    return [this, kind, starts = starts_, run = run_](void* userData) {
        if (userData != this) faults_.Add("a completion callback got other user data");
        if (OnCommandThread()) faults_.Add("a run completed on the thread of the commands");
        if (--*starts < 0) faults_.Add("a run completed more than once");
        if (run < endedBefore_) faults_.Add("a run completed after it was stopped");
        ++completions_;
        if (kind == SLEEPING) std::this_thread::sleep_for(PAUSE);
        if (run < endedBefore_) faults_.Add("a command returned during a completion callback");
        if (kind == THROWING) throw StormError();
    };
}

void StormAudience::EndAllRuns() {
    isOpen_ = false;
    endedBefore_ = run_ + 1;
}

void StormAudience::Call(int observer) {
    const bool commanded = OnCommandThread();
    if (!commanded && !isOpen_) faults_.Add("an observer was called after the end of its run");
    if (observer == SLEEPING) std::this_thread::sleep_for(PAUSE);
    if (observer != THROWING) return;
    if (commanded) ++thrown_;
    throw StormError();
}

void StormAudience::Listener::OnMeterSessionStart(int blockMilliseconds) {
    if (blockMilliseconds != 100) audience->faults_.Add("a meter block is not 100 ms long");
    if (!audience->OnCommandThread()) audience->faults_.Add("a run started on another thread");
    ++audience->startCalls_;
    audience->Call(number);
}

void StormAudience::Listener::OnMeterSessionStop() {
    audience->Call(number);
}

void StormAudience::Listener::OnMeterUpdate(const orlo::sonrel::AudioMetrics&) {
    if (!audience->OnCommandThread()) audience->faults_.Add("levels came on another thread");
    audience->Call(number);
}

}  // namespace sonrel_tests
