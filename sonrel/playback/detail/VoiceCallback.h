// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "sonrel/playback/detail/AutoResetEvent.h"
#include "sonrel/playback/detail/RunAudience.h"
#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel {

class Sonrel;

namespace detail {

/// Turns what the device reports into state of the playback engine.
///
/// A device may report something late, when the run that it belongs to was stopped and another one
/// has begun. So runs are numbered, and only what belongs to the open run counts.
///
/// Threads: the device calls the On... operations, and they neither lock nor allocate nor wait,
/// apart from the meters' own locks and what the host does when a run ends. Everything else is for
/// the thread that gives the commands.
class VoiceCallback : public device::VoiceEvents {
public:
    /// The run of a single frame, whose buffer has no context.
    static constexpr std::uint64_t SINGLE_FRAME = 1;

    VoiceCallback(Sonrel* owner, std::atomic<int>& currentVideoFrame,
                  std::atomic<long long>& playedSampleEnd);

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
    /// Takes the completion callback out of the audience. While no run is open.
    void ClearCompletion();
    /// On the command thread.
    const RunAudience& Audience() const { return *audience_; }

    AutoResetEvent bufferEndEvent;

private:
    class DeviceSection;

    Sonrel* owner_;
    std::atomic<int>& currentVideoFrame_;
    std::atomic<long long>& playedSampleEnd_;
    std::atomic<std::uint64_t> openRun_ = 0;  // 0 means none
    std::atomic<std::uint64_t> soundingRun_ = 0;
    std::atomic<int> deviceSections_ = 0;
    std::shared_ptr<RunAudience> audience_;  // of the open run; shared with its notification
    /// Former audiences whose notification was cancelled from inside one of its calls.
    std::vector<std::shared_ptr<RunAudience>> interrupted_;
};

}  // namespace detail
}  // namespace orlo::sonrel
