// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>

#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel::detail {

/// A target as long as the caller holds it; empty when it is gone.
template <class Target>
std::shared_ptr<Target> Lock(const PlaybackEngineImpl& engine,
                             const std::weak_ptr<Target>& target) {
    const std::lock_guard guard(engine.targetMutex);
    return target.lock();
}

/// Whether two frame rates differ by no more than what a computation of them may leave.
bool FrameRatesAreClose(double a, double b);

}  // namespace orlo::sonrel::detail
