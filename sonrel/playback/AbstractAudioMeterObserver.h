// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"
#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

/// What a host implements to hear when levels of a playback begin and end.
///
/// During a run nobody pushes levels: a host polls PlaybackEngine::CurrentPlaybackMetrics between
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

    /// A run of a sequence or composition has started. Comes on the thread that called the play
    /// command, once the sound runs, before PlaybackEngine::IsPlaying answers true.
    /// @param blockMilliseconds  length of a meter block; always 100
    virtual void OnMeterSessionStart(int blockMilliseconds) = 0;

    /// A run was stopped, on the thread that called the command, or has played to its end, on the
    /// device's thread. Every Stop tells it, also one while nothing plays, and every play command
    /// begins with a Stop. The end of a media asset's run comes here too, though its start did not.
    virtual void OnMeterSessionStop() = 0;

    /// The levels of a single frame that PlaybackEngine::PlayFrame has just made sound. Comes on
    /// the thread that called it.
    virtual void OnMeterUpdate(const AudioMetrics& metrics) = 0;
};

}  // namespace orlo::sonrel
