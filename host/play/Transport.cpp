// SPDX-License-Identifier: MIT
#include "host/play/Transport.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Errors.h"

namespace orlo::host {

namespace {

using sonrel::PlaybackEngine;
using Err = PlaybackEngine::Err;

constexpr int MAX_SPEED = 4;
constexpr int LONG_JUMP_SECONDS = 10;

}  // namespace

std::string PlaybackErrorMessage(Err error, int sampleRate) {
    const std::string rate = std::to_string(sampleRate) + " Hz";
    const std::string elsewhere = "; use --output null or a file instead";
    switch (error) {
        case Err::AudioLibraryLoadFailed:
            return "the sound library libSDL2-2.0.so.0 cannot be loaded" + elsewhere;
        case Err::AudioEngineCreateFailed:
            return "the sound output cannot be created" + elsewhere;
        case Err::MasteringVoiceFailed:
            return "no sound device can be opened at " + rate + elsewhere;
        case Err::UnsupportedSampleRate:
            return "playback at " + rate +
                   " is not possible; set a rate from 8000 to 96000 with --rate";
        case Err::OutOfRange:
            return "the position is outside the playable range";
        default:
            return "playback failed with code " + std::to_string(static_cast<int>(error));
    }
}

Transport::Transport(PlaybackEngine& engine, const FrameGrid& grid, long long total)
    : engine_(engine), grid_(grid), total_(total) {}

Transport::~Transport() {
    engine_.Stop();
}

void Transport::Begin(long long sample, Direction direction, int speed) {
    direction_ = direction;
    speed_ = speed;
    frameIsPending_ = false;
    frame_ = Clamp(grid_.FrameOf(sample));
    // The end of a previous run is ignored.
    const Err error = engine_.PlayFromSample(
        sample, direction, speed, [this, run = ++run_](void*) { endedRun_ = run; }, nullptr);
    playing_ = error == Err::NoError;
    if (!playing_) throw JobError(PlaybackErrorMessage(error, grid_.rate));
}

void Transport::Stop() {
    if (playing_) Pause();
}

int Transport::Frame() const {
    const int heard = engine_.CurrentPlaybackVideoFrame();
    return playing_ && heard != PlaybackEngine::NO_FRAME ? grid_.FrameOfEngine(heard) : frame_;
}

void Transport::PauseAtEnd() {
    PauseAt(direction_ == Direction::Reverse ? 0 : LastFrame());
}

void Transport::Press(Key key) {
    used_ = true;
    const auto second = static_cast<int>(std::lround(grid_.fps));
    switch (key) {
        case Key::Forward:
            return Play(Direction::Forward);
        case Key::Backward:
            return Play(Direction::Reverse);
        case Key::Pause:
            return Stop();
        case Key::Toggle:
            if (playing_) return Pause();
            speed_ = 1;
            return Play(direction_);
        case Key::Left:
            return playing_ ? Jump(-second) : StepFrame(-1);
        case Key::Right:
            return playing_ ? Jump(second) : StepFrame(1);
        case Key::Up:
            return Jump(LONG_JUMP_SECONDS * second);
        case Key::Down:
            return Jump(-LONG_JUMP_SECONDS * second);
        case Key::Quit:
            quit_ = true;
            return Stop();
    }
}

void Transport::Pause() {
    PauseAt(Frame());
}

void Transport::PauseAt(int frame) {
    frame_ = frame;
    playing_ = false;
    engine_.Stop();
}

void Transport::Play(Direction direction) {
    const bool again = playing_ && direction == direction_;
    const int frame = Frame();
    const long long sample = grid_.Start(frame);
    // In reverse no samples precede the first sample.
    if (direction == Direction::Reverse && sample == 0) return Stop();
    Begin(std::min(sample, total_ - 1), direction, again ? std::min(speed_ + 1, MAX_SPEED) : 1);
}

void Transport::Jump(int frames) {
    const int frame = Clamp(static_cast<long long>(Frame()) + frames);
    const bool atStart = direction_ == Direction::Reverse && frame == 0;
    frameIsPending_ = false;
    if (playing_ && atStart) return PauseAt(frame);
    if (!playing_) {
        frame_ = frame;
        return;
    }
    Begin(std::min(grid_.Start(frame), total_ - 1), direction_, speed_);
}

void Transport::StepFrame(int frames) {
    frame_ = Clamp(static_cast<long long>(frame_) + frames);
    frameIsPending_ = true;
    RetryFrame();
}

void Transport::RetryFrame() {
    if (!frameIsPending_) return;
    frameIsPending_ = engine_.PlayFrame(grid_.FirstEngineFrame(frame_)) == Err::Busy;
}

int Transport::LastFrame() const {
    return static_cast<int>(grid_.FrameOf(total_ - 1));
}

int Transport::Clamp(long long frame) const {
    return static_cast<int>(std::clamp<long long>(frame, 0, LastFrame()));
}

}  // namespace orlo::host
