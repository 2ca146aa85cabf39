// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackReader.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "sonrel/playback/detail/SamplePicking.h"

namespace orlo::sonrel::detail {

namespace {

/// The most samples that one mix gives. A buffer is longer only below one video frame in some
/// hours.
constexpr long long MAX_READ = 1LL << 28;

}  // namespace

void PlaybackReader::Begin(long long position, Direction direction, int speed) {
    position_ = position;
    direction_ = direction;
    speed_ = speed;
}

bool PlaybackReader::EndIsReached() const {
    return direction_ == Direction::Forward ? position_ >= format_.totalSamples : position_ <= 0;
}

/// The samples of the target that one buffer takes: cut at the end, or, in reverse, at the start.
int PlaybackReader::SamplesWanted(const FrameAudioBuffer& buffer) const {
    const long long room = static_cast<long long>(buffer.SizeInBytes() / 4) * speed_;
    const long long left =
        direction_ == Direction::Forward ? format_.totalSamples.load() - position_ : position_;
    // A target whose rate was refused during a run may end before the position.
    return static_cast<int>(std::max(0LL, std::min({room, left, MAX_READ})));
}

/// The target is held only for this call: a host may delete it between two buffers.
int PlaybackReader::Mix(int count, short* samples) {
    return targets_.Current().Mix(mixer_, position_, count, samples);
}

/// @param count  at most the room in @p samples times the speed
/// @return samples placed; empty when the mix delivered fewer than requested
std::optional<int> PlaybackReader::MixAtSpeed(int count, short* samples) {
    if (speed_ == 1) return Mix(count, samples) == count ? std::optional(count) : std::nullopt;
    const auto source = std::make_unique<short[]>(2 * static_cast<std::size_t>(count));
    if (Mix(count, source.get()) != count) return std::nullopt;
    return PickFrames(source.get(), count, speed_, samples);
}

int PlaybackReader::Read(FrameAudioBuffer& buffer) {
    const bool forward = direction_ == Direction::Forward;
    const int wanted = SamplesWanted(buffer);
    // A reverse run mixes forward too, from the lower end.
    if (!forward) position_ -= wanted;
    const std::optional<int> placed = MixAtSpeed(wanted, buffer.samples.data());
    if (!placed) return 0;
    if (forward) {
        position_ += wanted;
    } else {
        ReverseFrames(buffer.samples.data(), *placed);
    }
    return *placed;
}

void PlaybackReader::ReadStamped(FrameAudioBuffer& buffer, std::uint64_t run) {
    const long long before = position_;
    const int placed = Read(buffer);
    const bool forward = direction_ == Direction::Forward;
    buffer.videoFrame = format_.VideoFrameAt(forward ? before : position_);
    buffer.firstSample = before;
    buffer.endSample = before + placed;
    buffer.run = run;
}

}  // namespace orlo::sonrel::detail
