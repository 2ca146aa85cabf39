// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/shell/Outcome.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::host {

/// Prints the events of a playback on standard output, one JSON object per line.
class PlayEvents {
public:
    /// @param wanted  false prints nothing
    PlayEvents(bool wanted, std::vector<std::string> trackNames);

    /// All of these throw JobError when standard output cannot be written.
    void Frame(int frame);
    void MeterStart();
    void MeterStop();
    void Meter(int frame, const sonrel::AudioMetrics& metrics,
               const sonrel::PlaybackLoudness& loudness);
    /// @param error  a clause that names the media file and the timecode
    void ReadError(const std::string& error);
    void End();

private:
    void Print(const Json& event);

    const bool wanted_;
    const std::vector<std::string> trackNames_;
};

/// Queues the engine's notifications of meter sessions until the player takes them. The end of a
/// run is notified on the device's thread; events are printed in order on the player's thread.
class MeterSessions : public sonrel::AbstractAudioMeterObserver {
public:
    enum class Change { Started, Stopped };

    void OnMeterSessionStart(int blockMilliseconds) override;
    void OnMeterSessionStop() override;
    void OnMeterUpdate(const sonrel::AudioMetrics& metrics) override;

    /// The changes since the last call. A session that is stopped twice is reported as stopped
    /// once; a session that never started is not reported.
    std::vector<Change> Take();

private:
    std::mutex mutex_;  // guards the members below
    std::vector<Change> changes_;
    bool open_ = false;
};

}  // namespace orlo::host
