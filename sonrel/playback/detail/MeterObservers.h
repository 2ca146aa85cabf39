// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <exception>
#include <vector>

#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel::detail {

/// Whether a run would be metered. A media asset never is.
inline bool HasMeterObservers(const PlaybackEngineImpl& engine) {
    return !engine.meterObservers.empty() &&
           engine.initializationType != PlaybackEngine::InitializationType::MediaAsset;
}

/// Calls each observer in the order of adding, on this thread. An observer that is removed by an
/// earlier call is skipped; an observer that is added meanwhile is not called. An exception ends
/// only the call that threw it.
/// @return the first exception, for the command to throw when its work is done; null without one
template <class Call>
[[nodiscard]] std::exception_ptr NotifyObservers(const PlaybackEngineImpl& engine, Call call) {
    std::exception_ptr failure;
    const std::vector<AbstractAudioMeterObserver*> observers = engine.meterObservers;
    for (AbstractAudioMeterObserver* observer : observers) {
        const auto& listed = engine.meterObservers;
        if (std::find(listed.begin(), listed.end(), observer) == listed.end()) continue;
        try {
            call(*observer);
        } catch (...) {
            if (!failure) failure = std::current_exception();
        }
    }
    return failure;
}

/// Throws what NotifyObservers has returned, if anything.
inline void Rethrow(const std::exception_ptr& failure) {
    if (failure) std::rethrow_exception(failure);
}

}  // namespace orlo::sonrel::detail
