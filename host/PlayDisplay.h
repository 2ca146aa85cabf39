// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/MeterBars.h"

namespace orlo::host {

/// The state of a player in words: what is heard, and how it moves.
struct PlayState {
    std::string timecode;
    bool playing = false;
    bool reverse = false;
    int speed = 1;

    bool operator==(const PlayState&) const = default;
};

/// What a player shows on a terminal: a line with the timecode, and under it, if asked for, a meter
/// for each track and one for the master. Drawn over itself on standard error; on a pipe nothing.
class PlayDisplay {
public:
    /// @param quiet       shows nothing
    /// @param trackNames  for the meters; empty shows none
    /// @param meters      whether there are meters
    PlayDisplay(bool quiet, std::vector<std::string> trackNames, bool meters);
    /// Takes everything off the terminal.
    ~PlayDisplay();
    PlayDisplay(const PlayDisplay&) = delete;
    PlayDisplay& operator=(const PlayDisplay&) = delete;

    void Show(const PlayState& state);
    void Show(const sonrel::AudioMetrics& metrics, SignalMeter::Clock::time_point now);
    /// New meters, as for a new run: lamps out, nothing held.
    void Reset();

private:
    std::vector<std::string> Lines() const;
    void Draw();
    void Erase();

    const bool shown_;
    const bool meters_;
    const std::vector<std::string> trackNames_;
    PlayState state_;
    std::vector<SignalMeter> tracks_;
    SignalMeter master_;
    std::size_t linesDrawn_ = 0;
};

/// One line of a meter: name, both channels' bars and lamps.
std::string MeterLine(const std::string& name, const SignalMeter& meter, int barWidth);

}  // namespace orlo::host
