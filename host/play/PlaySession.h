// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "host/media/ReadCheck.h"
#include "host/options/GlobalOptions.h"
#include "host/play/OutputWatch.h"
#include "host/play/PlayDisplay.h"
#include "host/play/PlayEvents.h"
#include "host/play/PlayOptions.h"
#include "host/play/PlayOutput.h"
#include "host/play/Suspension.h"
#include "host/play/Transport.h"
#include "host/timeline/Positions.h"

namespace orlo::host {

/// The target of a session.
struct PlaySubject {
    std::string name;  ///< INPUT
    FrameGrid grid;
    long long total = 0;  ///< samples
    std::vector<std::string> trackNames;
    bool metered = false;
    const ReadCheck& reads;  ///< monitors the sound that is played
};

/// The engine of a playback and the outputs of its sound and its levels.
struct PlayDevices {
    sonrel::PlaybackEngine& engine;
    PlayOutput& output;
    MeterSessions& sessions;
};

/// A running playback. Passes keys to the transport controls and displays the playback state.
///
/// Threads: one.
class PlaySession {
public:
    PlaySession(const GlobalOptions& global, const PlayOptions& options, const PlaySubject& subject,
                const PlayDevices& devices);

    /// Plays until the run ends, q is pressed or a signal arrives. Once a key has been pressed, the
    /// end of a run is a pause.
    /// @throws CommandError for a signal, and when the sound device is lost or stalls
    void Run(long long begin);

    /// The last frame that was heard; NO_FRAME before the first.
    int LastFrame() const { return lastFrame_; }

private:
    using Clock = std::chrono::steady_clock;

    bool Poll(TerminalKeys* keys);
    void Advance(TerminalKeys* keys);
    void Suspend(TerminalKeys* keys);
    void Report();
    void ReportReadError();
    void ShowState();
    bool MeterIsDue();
    void StopIfInterrupted();
    void CheckDevice();
    int HeardFrame() const;
    std::string Timecode() const;

    const PlayOptions& options_;
    const PlaySubject& subject_;
    sonrel::PlaybackEngine& engine_;
    PlayOutput& output_;
    MeterSessions& sessions_;
    PlayEvents events_;
    Suspension suspension_;  // destroyed after the drawing is erased
    PlayDisplay display_;
    std::string readError_;  // empty without a read error
    Transport transport_;
    OutputWatch watch_;
    int lastFrame_ = sonrel::PlaybackEngine::NO_FRAME;
    long long lastStepPoll_ = 0;
    Clock::time_point nextPoll_;
};

}  // namespace orlo::host
