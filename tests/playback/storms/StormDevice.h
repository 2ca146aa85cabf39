// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "sonrel/playback/VirtualOutput.h"
#include "sonrel/playback/device/AudioDevice.h"

namespace sonrel_tests {

namespace device = orlo::sonrel::device;

/// The voice of the library on a virtual output, which plays fast or slowly, gets lost, and refuses
/// calls.
///
/// Threads: commands on the thread that made it, everything else on any.
class StormDevice {
public:
    enum class Pace {
        Fast,             ///< as fast as the voice has something to play
        Slow,             ///< a pause before each pull
        Lost,             ///< no callback at all
        LostButFlushing,  ///< takes no samples, but reports dropped buffers
    };
    enum class Call { Start, Submit, CreateSourceVoice, CreateMasteringVoice };
    static constexpr std::size_t CALLS = 4;

    /// @param fault  receives the faults that the device finds, on any thread
    explicit StormDevice(std::function<void(const char*)> fault);

    /// The device engine that plays on this device. The device outlives it.
    std::unique_ptr<device::AudioDevice> MakeEngine();

    void SetPace(Pace pace);
    /// Whether the device takes no samples.
    bool IsStill() const;

    /// Refuses @p count calls after the next @p passed calls.
    void Refuse(Call call, int passed, int count);
    void RefuseNothing();
    /// Calls since the device was made, and the refused ones.
    int Made(Call call) const { return made_[Index(call)]; }
    int Refused(Call call) const { return refused_[Index(call)]; }
    int RefusedCalls() const;

    /// Threads that use the device: that of each engine, and the workers.
    int ThreadsInUse() const { return threads_; }
    long long FramesTaken() const { return output_->FramesTaken(); }

private:
    friend class StormEngine;
    friend class StormEvents;
    friend class StormSource;
    friend class StormVoice;

    static std::size_t Index(Call call) { return static_cast<std::size_t>(call); }
    /// Counts a call. @return whether it is refused
    bool IsRefused(Call call);
    /// Reports a callback on the command thread.
    void CheckThread() const;

    const std::thread::id commandThread_ = std::this_thread::get_id();
    const std::function<void(const char*)> fault_;
    const std::shared_ptr<orlo::sonrel::VirtualOutput> output_ =
        std::make_shared<orlo::sonrel::VirtualOutput>(
            orlo::sonrel::VirtualOutput::Clock::DrainDriven);
    std::atomic<Pace> pace_ = Pace::Fast;
    std::array<std::atomic<int>, CALLS> made_ = {};
    std::array<std::atomic<int>, CALLS> refused_ = {};
    std::array<std::atomic<int>, CALLS> refuseFrom_ = {};  ///< the first refused call
    std::array<std::atomic<int>, CALLS> refuseTo_ = {};    ///< the call after the last refused one
    std::atomic<int> threads_ = 0;
};

}  // namespace sonrel_tests
