// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"
#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

/// Receives the start and the end of the metering of a playback. A host implements it.
///
/// During a run no levels are pushed: a host polls PlaybackEngine::CurrentPlaybackMetrics between
/// OnMeterSessionStart and OnMeterSessionStop, at its own pace.
///
/// Every operation may throw, and must not wait for the thread that gives commands; both are
/// documented in PlaybackEngine.h.
class SONREL_EXPORT AbstractAudioMeterObserver {
public:
    AbstractAudioMeterObserver() = default;
    AbstractAudioMeterObserver(const AbstractAudioMeterObserver&) = default;
    AbstractAudioMeterObserver& operator=(const AbstractAudioMeterObserver&) = default;
    virtual ~AbstractAudioMeterObserver() = default;

    /// A run of a sequence or composition has started. Called on the thread of the play command,
    /// after the sound has started and before PlaybackEngine::IsPlaying returns true.
    /// @param blockMilliseconds  length of a meter block; always 100
    virtual void OnMeterSessionStart(int blockMilliseconds) = 0;

    /// A run was stopped (called on the thread of the command) or has played to its end (called on
    /// the device's thread). Every Stop calls it, also while nothing plays, and every play command
    /// begins with a Stop. The end of a media asset's run is reported too, although its start was
    /// not.
    virtual void OnMeterSessionStop() = 0;

    /// The levels of a single frame that PlaybackEngine::PlayFrame has just started. Called on the
    /// thread of that command.
    virtual void OnMeterUpdate(const AudioMetrics& metrics) = 0;
};

}  // namespace orlo::sonrel
