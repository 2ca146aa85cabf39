// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/play/MeterBars.h"
#include "host/shell/Terminal.h"

namespace orlo::host {

/// The state of a player in words: what is heard, and how it moves.
struct PlayState {
    std::string timecode;
    bool playing = false;
    bool reverse = false;
    int speed = 1;
    std::string readError;  ///< of sound that is missing; may be empty

    bool operator==(const PlayState&) const = default;
};

/// What a player shows on a terminal: a line with the timecode, and below it, if asked for, a meter
/// for each track and the master. Drawn over itself on standard error, in the size that the
/// terminal has at that moment. On a pipe and in the background it draws nothing.
class PlayDisplay {
public:
    /// @param quiet       shows nothing
    /// @param trackNames  for the meters; empty shows none
    /// @param meters      whether there are meters
    PlayDisplay(bool quiet, std::vector<std::string> trackNames, bool meters);
    /// Erases the drawing.
    ~PlayDisplay();
    PlayDisplay(const PlayDisplay&) = delete;
    PlayDisplay& operator=(const PlayDisplay&) = delete;

    void Show(const PlayState& state);
    void Show(const sonrel::AudioMetrics& metrics, SignalMeter::Clock::time_point now);
    /// New meters, as for a new run: lamps out, nothing held.
    void Reset();
    /// Takes the drawing off the terminal, until the next Show.
    void Erase();

private:
    std::string FirstLine(std::size_t tracksShown) const;
    std::vector<std::string> Lines() const;
    void Draw();

    const bool shown_;
    const bool meters_;
    const std::vector<std::string> trackNames_;
    PlayState state_;
    std::vector<SignalMeter> tracks_;
    SignalMeter master_;
    TerminalSize size_;
    std::size_t linesDrawn_ = 0;
};

}  // namespace orlo::host
