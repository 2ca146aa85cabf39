// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "sonrel/playback/detail/FrameAudioBuffer.h"
#include "sonrel/playback/detail/PlayedFormat.h"

namespace orlo::sonrel::detail {

/// Reads the current target buffer by buffer, in the direction and at the speed of the run.
///
/// Threads: the worker of a run, or the command thread while no worker runs or the worker is parked
/// for a flush.
class PlaybackReader {
public:
    using Direction = PlaybackEngine::PlaybackDirection;

    PlaybackReader(AudioMixer& mixer, const TargetMemory& targets, const PlayedFormat& format)
        : mixer_(mixer), targets_(targets), format_(format) {}

    /// @param speed  1 to 4
    void Begin(long long position, Direction direction, int speed);

    /// The next sample to mix.
    long long Position() const { return position_; }
    void MoveTo(long long position) { position_ = position; }
    Direction RunDirection() const { return direction_; }
    int Speed() const { return speed_; }
    /// Whether the position has reached the end of the run.
    bool EndIsReached() const;

    /// Fills a buffer from the position and moves the position.
    ///
    /// When the mix delivers fewer samples than requested, the buffer keeps its content and the
    /// result is 0. A forward run then stays at its position, so that the next read asks again; in
    /// reverse the position has moved. Nothing reports this to the host during a run.
    /// @return samples placed at the front of the buffer; the rest of the buffer is unchanged
    int Read(FrameAudioBuffer& buffer);

    /// Fills a buffer of a run and stamps it.
    ///
    /// The end stamp is the position before the read plus the samples in the buffer, also in
    /// reverse and at a higher speed, where the sound of the buffer ends elsewhere. A flush resumes
    /// from this stamp.
    void ReadStamped(FrameAudioBuffer& buffer, std::uint64_t run);

private:
    int SamplesWanted(const FrameAudioBuffer& buffer) const;
    std::optional<int> MixAtSpeed(int count, short* samples);
    int Mix(int count, short* samples);

    AudioMixer& mixer_;
    const TargetMemory& targets_;
    const PlayedFormat& format_;
    Direction direction_ = Direction::Forward;
    int speed_ = 1;
    long long position_ = 0;
};

}  // namespace orlo::sonrel::detail
