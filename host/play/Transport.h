// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "host/play/Keys.h"
#include "host/timeline/Positions.h"
#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::host {

/// What a failed playback command means for who called the program, as a clause.
std::string PlaybackErrorMessage(sonrel::PlaybackEngine::Err error, int sampleRate);

/// The controls of a player: runs, pauses and jumps of a playback engine that is set up.
///
///     L, J          play forward, in reverse; again, faster, up to four times
///     K             pause
///     space         pause, or go on
///     left, right   a second back, on; in a pause one frame, which is heard
///     up, down      ten seconds on, back; in a pause too
///     q             quit
///
/// Reaching the first frame in reverse, or the last frame, is a pause once a key has been pressed.
///
/// Threads: one; the end of a run is noted from the device's.
class Transport {
public:
    using Direction = sonrel::PlaybackEngine::PlaybackDirection;

    /// @param total  length of the target in samples, above 0
    Transport(sonrel::PlaybackEngine& engine, const FrameGrid& grid, long long total);
    /// Stops what plays.
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    /// Starts a run. @throws JobError
    void Begin(long long sample, Direction direction, int speed);
    /// Does what a key asks for. @throws JobError
    void Press(Key key);
    void Stop();
    /// Turns the run that has been heard to its end into a pause on its last frame.
    void PauseAtEnd();
    /// Asks once more for a single frame that the device was too busy to take. Frames of a burst of
    /// keys may be left out; the last frame is always heard.
    void RetryFrame();

    bool IsPlaying() const { return playing_; }
    /// Whether the run that was begun last has been heard to its end.
    bool HasEnded() const { return playing_ && endedRun_.load() == run_; }
    /// Whether a key has been pressed.
    bool HasBeenUsed() const { return used_; }
    bool WantsToQuit() const { return quit_; }
    Direction CurrentDirection() const { return direction_; }
    int Speed() const { return speed_; }
    /// The frame that is heard, or that a pause stands on.
    int Frame() const;

private:
    void Pause();
    void PauseAt(int frame);
    void Play(Direction direction);
    void Jump(int frames);
    void StepFrame(int frames);
    int LastFrame() const;
    int Clamp(long long frame) const;

    sonrel::PlaybackEngine& engine_;
    const FrameGrid grid_;
    const long long total_;
    int frame_ = 0;  ///< where a pause stands, or the run begins
    Direction direction_ = Direction::Forward;
    int speed_ = 1;
    bool playing_ = false;
    bool quit_ = false;
    bool used_ = false;
    bool frameIsPending_ = false;  ///< the frame of the pause is still to be heard
    std::uint64_t run_ = 0;
    std::atomic<std::uint64_t> endedRun_ = 0;
};

}  // namespace orlo::host
