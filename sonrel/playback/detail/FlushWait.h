// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>

#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::sonrel::detail {

/// The period of the wait of a flush.
constexpr std::chrono::milliseconds FLUSH_WAIT{10};
/// A flush gives up when its periods exceed this, which is after 51 periods.
constexpr std::chrono::milliseconds FLUSH_TIMEOUT{500};

/// Waits until the worker has parked for a flush. A worker blocked on a full queue parks when the
/// next buffer ends; a worker that drains never parks.
/// @param parkedWithin  waits at most as long as its argument; returns whether the worker has
///                      parked
/// @return NoError; NotPlaying when the run ended meanwhile; FlushFailed
template <class Wait>
PlaybackEngine::Err WaitForParkedWorker(Wait parkedWithin, const std::atomic<bool>& isPlaying,
                                        std::chrono::milliseconds timeout) {
    std::chrono::milliseconds waited{0};
    while (!parkedWithin(FLUSH_WAIT)) {
        if (!isPlaying) return PlaybackEngine::Err::NotPlaying;
        waited += FLUSH_WAIT;
        if (waited > timeout) return PlaybackEngine::Err::FlushFailed;
    }
    return PlaybackEngine::Err::NoError;
}

}  // namespace orlo::sonrel::detail
