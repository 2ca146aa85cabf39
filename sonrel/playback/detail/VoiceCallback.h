// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "sonrel/playback/detail/HeardLoudness.h"
#include "sonrel/playback/detail/RunAudience.h"
#include "sonrel/playback/device/AudioDevice.h"
#include "sonrel/playback/device/CallbackSignal.h"

namespace orlo::sonrel {

class AudioMixer;

namespace detail {

/// Turns the reports of the device into the state of the playback engine.
///
/// A device may report late, after the run was stopped and another run has begun. Therefore runs
/// are numbered, and only reports on the open run count.
///
/// Threads: the device calls the On... operations. They neither lock nor allocate nor wait, apart
/// from the meters' own locks and the host's code at the end of a run. Everything else is for the
/// command thread.
class VoiceCallback : public device::VoiceEvents {
public:
    /// The run of a single frame, whose buffer has no context.
    static constexpr std::uint64_t SINGLE_FRAME = 1;

    VoiceCallback(AudioMixer& mixer, std::atomic<int>& currentVideoFrame,
                  std::atomic<long long>& playedSampleEnd, HeardLoudness& loudness);

    void OnBufferStart(void* context) override;
    void OnBufferEnd(void* context) override;
    void OnStreamEnd() override;

    /// From here on the device's reports on a run count.
    void OpenRun(std::uint64_t run);
    /// From here on no report counts, none is being processed, and no end-of-run call of the host's
    /// begins or is running, except the call that this is called from.
    void CloseRun();

    /// Replaces the audience. While no run is open.
    void SetAudience(std::vector<AbstractAudioMeterObserver*> observers,
                     std::function<void(void*)> completion, void* userData);
    /// Removes the completion callback from the audience. While no run is open.
    void ClearCompletion();
    /// On the command thread.
    const RunAudience& Audience() const { return *audience_; }

    /// Advances when a buffer of a run has ended or was dropped.
    device::CallbackSignal bufferEnds;

private:
    AudioMixer& mixer_;
    std::atomic<int>& currentVideoFrame_;
    std::atomic<long long>& playedSampleEnd_;
    HeardLoudness& loudness_;
    std::atomic<std::uint64_t> openRun_ = 0;  // 0 means none
    std::atomic<std::uint64_t> soundingRun_ = 0;
    device::CallbackGate reports_;           // that change the state; the host's code is outside
    std::shared_ptr<RunAudience> audience_;  // of the open run; shared with its notification
    /// Former audiences whose notification was cancelled from inside one of its calls.
    std::vector<std::shared_ptr<RunAudience>> interrupted_;
};

}  // namespace detail
}  // namespace orlo::sonrel
