// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "tests/playback/storms/StormFaults.h"

namespace sonrel_tests {

/// The exception of the observers and completion callbacks of a storm.
class StormError : public std::runtime_error {
public:
    StormError() : std::runtime_error("thrown by a storm") {}
};

/// The observers and completion callbacks of a storm: quiet, slow and throwing. They report a call
/// after the end of its run, and a repeated call.
///
/// Threads: the callbacks on any thread, everything else on the command thread.
class StormAudience {
public:
    explicit StormAudience(StormFaults& faults);

    static constexpr int OBSERVERS = 4;  ///< two quiet, one sleeping, one throwing
    orlo::sonrel::AbstractAudioMeterObserver* Observer(int number);

    /// A callback for the next run. @param kind  0 none, 1 quiet, 2 sleeps, 3 throws
    std::function<void(void*)> NextCompletion(int kind);
    /// The present run is started once more with its callback.
    void AllowOneMore() { ++*starts_; }
    void AllowOneLess() { --*starts_; }
    int Completions() const { return completions_; }

    /// From here on the device may report the end of a run.
    void OpenRun() { isOpen_ = true; }
    /// Runs before the run with this number are no longer reported.
    void EndRunsBefore(int number) { endedBefore_ = number; }
    /// Nothing is reported any more of any run.
    void EndAllRuns();
    int RunNumber() const { return run_; }

    /// Calls that an observer has thrown from, on the thread of the commands.
    int Thrown() const { return thrown_; }
    /// Starts of a run, on the thread of the commands.
    int Starts() const { return startCalls_; }

private:
    class Listener : public orlo::sonrel::AbstractAudioMeterObserver {
    public:
        void OnMeterSessionStart(int blockMilliseconds) override;
        void OnMeterSessionStop() override;
        void OnMeterUpdate(const orlo::sonrel::AudioMetrics& metrics) override;

        StormAudience* audience = nullptr;
        int number = 0;
    };

    void Call(int observer);
    bool OnCommandThread() const { return std::this_thread::get_id() == commandThread_; }

    StormFaults& faults_;
    const std::thread::id commandThread_ = std::this_thread::get_id();
    std::array<Listener, OBSERVERS> observers_;
    std::shared_ptr<std::atomic<int>> starts_ = std::make_shared<std::atomic<int>>(0);
    int run_ = 0;
    std::atomic<bool> isOpen_ = false;
    std::atomic<int> endedBefore_ = 0;
    std::atomic<int> completions_ = 0;
    int thrown_ = 0;
    int startCalls_ = 0;
};

}  // namespace sonrel_tests
