// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host/shell/Outcome.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"

namespace orlo::host {

/// Prints what happens in a playback on standard output, one JSON object a line.
class PlayEvents {
public:
    /// @param wanted  otherwise nothing is printed
    PlayEvents(bool wanted, std::vector<std::string> trackNames);

    /// Each throws JobError when standard output takes no more.
    void Frame(int frame);
    void MeterStart();
    void MeterStop();
    void Meter(int frame, const sonrel::AudioMetrics& metrics);
    /// @param error  a clause that names the media file and the timecode
    void ReadError(const std::string& error);
    void End();

private:
    void Print(const Json& event);

    const bool wanted_;
    const std::vector<std::string> trackNames_;
};

/// Keeps what the engine tells about meter sessions until the player asks: the end of a run comes
/// on the device's thread, and events are printed in order on one.
class MeterSessions : public sonrel::AbstractAudioMeterObserver {
public:
    enum class Change { Started, Stopped };

    void OnMeterSessionStart(int blockMilliseconds) override;
    void OnMeterSessionStop() override;
    void OnMeterUpdate(const sonrel::AudioMetrics& metrics) override;

    /// The changes since the last call. A session that was told to stop twice, or that never began,
    /// stops once or not at all.
    std::vector<Change> Take();

private:
    std::mutex mutex_;  // guards the rest
    std::vector<Change> changes_;
    bool open_ = false;
};

}  // namespace orlo::host
