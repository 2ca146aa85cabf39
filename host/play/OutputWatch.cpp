// SPDX-License-Identifier: MIT
#include "host/play/OutputWatch.h"

#include <utility>

namespace orlo::host {

std::string OutputWatch::Check(const sonrel::AudioOutputState& state, Clock::time_point now) {
    if (state.lost) return "the sound device was lost, or its sound server has ended";
    const bool continued = now - std::exchange(lastCheck_, now) > CHECK_GAP;
    if (framesPulled_ != state.framesPulled || continued) {
        framesPulled_ = state.framesPulled;
        lastPull_ = now;
    }
    if (now - lastPull_ <= STALL) return {};
    return "the sound device has taken nothing for " + std::to_string(STALL.count()) +
           " seconds, its sound server may be frozen";
}

}  // namespace orlo::host
