// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/play/MeterBars.h"
#include "host/shell/Terminal.h"
#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::host {

/// The state of a player for its status line: the position, the direction, the speed and errors.
struct PlayState {
    std::string timecode;
    bool playing = false;
    bool reverse = false;
    int speed = 1;
    std::string readError;  ///< notice of sound that could not be read; may be empty

    bool operator==(const PlayState&) const = default;
};

/// The display of a player on a terminal: a status line with the timecode, and below it,
/// optionally, a meter for each track and the master; the status line then has the loudness.
/// Each drawing on standard error overwrites the previous one and fits the current size of the
/// terminal. On a pipe and in the background nothing is drawn.
class PlayDisplay {
public:
    /// @param quiet       draws nothing
    /// @param trackNames  names of the track meters; empty for none
    /// @param meters      whether meters are drawn
    PlayDisplay(bool quiet, std::vector<std::string> trackNames, bool meters);
    /// Erases the drawing.
    ~PlayDisplay();
    PlayDisplay(const PlayDisplay&) = delete;
    PlayDisplay& operator=(const PlayDisplay&) = delete;

    void Show(const PlayState& state);
    void Show(const sonrel::AudioMetrics& metrics, const sonrel::PlaybackLoudness& loudness,
              SignalMeter::Clock::time_point now);
    /// Resets the meters for a new run: lamps off, no held peaks.
    void Reset();
    /// Erases the drawing until the next Show.
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
    sonrel::PlaybackLoudness loudness_;
    TerminalSize size_;
    std::size_t linesDrawn_ = 0;
};

}  // namespace orlo::host
