// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "sonrel/playback/AudioOutput.h"

namespace orlo::host {

/// Notices that the sound device is lost, or that it takes no more samples.
class OutputWatch {
public:
    using Clock = std::chrono::steady_clock;

    /// How long a device may take nothing. A sound server that starts can need two seconds.
    static constexpr std::chrono::seconds STALL{5};
    /// After a longer time between two checks the program itself was stopped: nothing is known.
    static constexpr std::chrono::seconds CHECK_GAP{1};

    /// Called many times a second.
    /// @return the failure as a clause; empty while there is none
    std::string Check(const sonrel::AudioOutputState& state, Clock::time_point now);

private:
    std::optional<long long> framesPulled_;
    Clock::time_point lastPull_;
    Clock::time_point lastCheck_;
};

}  // namespace orlo::host
