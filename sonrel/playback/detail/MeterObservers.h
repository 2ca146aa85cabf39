// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <vector>

#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"

namespace orlo::sonrel::detail {

/// Whether a run would be metered. A media asset never is.
inline bool HasMeterObservers(const PlaybackEngineImpl& engine) {
    return !engine.meterObservers.empty() &&
           engine.initializationType != PlaybackEngine::InitializationType::MediaAsset;
}

/// Calls each observer in the order of adding, on this thread. One that is removed by a call before
/// its own is left out; one that is added meanwhile is not called.
template <class Call>
void TellObservers(const PlaybackEngineImpl& engine, Call call) {
    const std::vector<AbstractAudioMeterObserver*> observers = engine.meterObservers;
    for (AbstractAudioMeterObserver* observer : observers) {
        const auto& listed = engine.meterObservers;
        if (std::find(listed.begin(), listed.end(), observer) != listed.end()) call(*observer);
    }
}

}  // namespace orlo::sonrel::detail
