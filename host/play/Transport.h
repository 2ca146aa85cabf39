// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "host/play/Keys.h"
#include "host/timeline/Positions.h"
#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::host {

/// The message for a failed playback command, as a clause.
std::string PlaybackErrorMessage(sonrel::PlaybackEngine::Err error, int sampleRate);

/// The transport controls of a player: runs, pauses and jumps of an initialized playback engine.
///
///     L, J          play forward, in reverse; each further press is faster, up to speed 4
///     K             pause
///     space         pause, or continue
///     left, right   one second back, forward; during a pause one frame, which is heard
///     up, down      ten seconds forward, back; also during a pause
///     q             quit
///
/// Once a key has been pressed, a run that reaches the last frame, or the first frame in reverse,
/// pauses there.
///
/// Threads: one; the end of a run is recorded on the device's thread.
class Transport {
public:
    using Direction = sonrel::PlaybackEngine::PlaybackDirection;

    /// @param total  length of the target in samples, above 0
    Transport(sonrel::PlaybackEngine& engine, const FrameGrid& grid, long long total);
    /// Stops the playback.
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    /// Starts a run. @throws JobError
    void Begin(long long sample, Direction direction, int speed);
    /// Executes the command of a key. @throws JobError
    void Press(Key key);
    void Stop();
    /// Turns a completed run into a pause on its last frame.
    void PauseAtEnd();
    /// Plays a single frame again that the device was too busy to take. Frames of a burst of keys
    /// may be skipped; the last frame is always heard.
    void RetryFrame();

    bool IsPlaying() const { return playing_; }
    /// Whether the last run has been played to its end.
    bool HasEnded() const { return playing_ && endedRun_.load() == run_; }
    /// Whether a key has been pressed.
    bool HasBeenUsed() const { return used_; }
    bool WantsToQuit() const { return quit_; }
    Direction CurrentDirection() const { return direction_; }
    int Speed() const { return speed_; }
    /// The frame that is heard, or the frame of the pause.
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
    int frame_ = 0;  ///< frame of the pause, or first frame of the run
    Direction direction_ = Direction::Forward;
    int speed_ = 1;
    bool playing_ = false;
    bool quit_ = false;
    bool used_ = false;
    bool frameIsPending_ = false;  ///< the frame of the pause has not been heard yet
    std::uint64_t run_ = 0;
    std::atomic<std::uint64_t> endedRun_ = 0;
};

}  // namespace orlo::host
