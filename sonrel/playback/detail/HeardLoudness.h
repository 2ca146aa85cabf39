// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <limits>
#include <optional>

#include "sonrel/loudness/LoudnessMeter.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/playback/detail/FrameAudioBuffer.h"

namespace orlo::sonrel::detail {

/// The loudness of a run: measured buffer by buffer before they are queued, and reported for the
/// buffer that is heard.
///
/// Threads: Begin on the command thread while no worker exists; Measure and Restart on the worker,
/// which allocates for the meter; Hear on the device's thread, which only copies two numbers; Heard
/// on any.
class HeardLoudness {
public:
    /// Begins a run.
    /// @param isMetered  false measures nothing
    void Begin(int sampleRate, bool isMetered);
    /// Begins the measurement anew, after a flush has dropped buffers that were measured.
    void Restart();
    /// Measures a buffer that is queued next, and stamps it with the loudness at its end.
    void Measure(FrameAudioBuffer& buffer);
    /// A buffer begins to sound.
    void Hear(const FrameAudioBuffer& buffer);
    PlaybackLoudness Heard() const;

private:
    static constexpr double NONE = std::numeric_limits<double>::quiet_NaN();

    std::optional<LoudnessMeter> meter_;
    std::atomic<double> momentary_ = NONE;
    std::atomic<double> shortTerm_ = NONE;
};

}  // namespace orlo::sonrel::detail
