// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "sonrel/playback/AudioOutput.h"

namespace orlo::host {

/// Detects that the sound device is lost, or that it no longer takes samples.
class OutputWatch {
public:
    using Clock = std::chrono::steady_clock;

    /// Longest time in which a device may take no samples. A sound server can need two seconds to
    /// start.
    static constexpr std::chrono::seconds STALL{5};
    /// A longer time between two checks means that the program itself was stopped; the time then
    /// does not count.
    static constexpr std::chrono::seconds CHECK_GAP{1};

    /// Called many times a second.
    /// @return the failure as a clause; empty without a failure
    std::string Check(const sonrel::AudioOutputState& state, Clock::time_point now);

private:
    std::optional<long long> framesPulled_;
    Clock::time_point lastPull_;
    Clock::time_point lastCheck_;
};

}  // namespace orlo::host
