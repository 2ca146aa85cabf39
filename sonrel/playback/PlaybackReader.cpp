// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/PlaybackReader.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/detail/SamplePicking.h"
#include "sonrel/playback/detail/TargetSetup.h"

namespace orlo::sonrel::detail {

namespace {

using InitializationType = PlaybackEngine::InitializationType;

/// No mix gives more at once; a buffer is only longer at less than a frame in some hours.
constexpr long long MAX_READ = 1LL << 28;

int SizeInBytes(int sampleCount) {
    return sampleCount * 4;
}

unsigned char* Bytes(short* samples) {
    return reinterpret_cast<unsigned char*>(samples);
}

int MixMediaAsset(PlaybackEngineImpl& engine, long long position, int count, short* samples) {
    const auto asset = Lock(engine, engine.mediaAsset);
    if (!asset) return 0;
    const int mixed = engine.owner->Mixer()->GetSamples(asset, position, count, Bytes(samples),
                                                        SizeInBytes(count));
    if (mixed > 0) return mixed;
    // What cannot be read plays as silence.
    std::fill_n(samples, 2 * static_cast<std::ptrdiff_t>(count), short{0});
    return count;
}

template <class Timeline>
int MixTimeline(PlaybackEngineImpl& engine, const std::weak_ptr<Timeline>& target,
                long long position, int count, short* samples) {
    const auto project = Lock(engine, engine.project);
    const auto timeline = Lock(engine, target);
    if (!project || !timeline) return 0;
    return engine.owner->Mixer()->GetSamples(project, timeline, position, count, Bytes(samples),
                                             SizeInBytes(count), 0, 0);
}

/// The target is held for this one call only: a host may delete it between two buffers.
/// @return samples delivered; 0 when the target is gone, negative when the mix failed
int MixPlaybackSamples(PlaybackEngineImpl& engine, long long position, int count, short* samples) {
    switch (engine.initializationType) {
        case InitializationType::MediaAsset:
            return MixMediaAsset(engine, position, count, samples);
        case InitializationType::Sequence:
            return MixTimeline(engine, engine.sequence, position, count, samples);
        case InitializationType::Composition:
            return MixTimeline(engine, engine.composition, position, count, samples);
        case InitializationType::None:
            break;
    }
    return 0;
}

/// @param count  at most what @p target holds times the speed
/// @return samples placed in @p target; nothing when the mix fell short
std::optional<int> MixAtSpeed(PlaybackEngineImpl& engine, int count, short* target) {
    if (engine.speed == 1) {
        const int mixed = MixPlaybackSamples(engine, engine.readPosition, count, target);
        return mixed == count ? std::optional(count) : std::nullopt;
    }
    const auto source = std::make_unique<short[]>(2 * static_cast<std::size_t>(count));
    const int mixed = MixPlaybackSamples(engine, engine.readPosition, count, source.get());
    if (mixed != count) return std::nullopt;
    return PickFrames(source.get(), count, engine.speed, target);
}

/// The samples of the target that one buffer takes: cut at the end, or, in reverse, at the start.
int SamplesWanted(const PlaybackEngineImpl& engine, const FrameAudioBuffer& buffer) {
    const long long room = static_cast<long long>(buffer.SizeInBytes() / 4) * engine.speed;
    const long long left = engine.direction == PlaybackEngine::PlaybackDirection::Forward
                               ? engine.totalSamples.load() - engine.readPosition
                               : engine.readPosition;
    // A target whose rate was refused in the middle of a run may end before the read position.
    return static_cast<int>(std::max(0LL, std::min({room, left, MAX_READ})));
}

}  // namespace

int ReadPlaybackSamples(PlaybackEngineImpl& engine, FrameAudioBuffer& buffer) {
    const bool forward = engine.direction == PlaybackEngine::PlaybackDirection::Forward;
    const int wanted = SamplesWanted(engine, buffer);
    // In reverse the mix runs forward too, from the lower end.
    if (!forward) engine.readPosition -= wanted;
    const std::optional<int> placed = MixAtSpeed(engine, wanted, buffer.samples.data());
    if (!placed) return 0;
    if (forward) {
        engine.readPosition += wanted;
    } else {
        ReverseFrames(buffer.samples.data(), *placed);
    }
    return *placed;
}

bool EndIsReached(const PlaybackEngineImpl& engine) {
    if (engine.direction == PlaybackEngine::PlaybackDirection::Forward) {
        return engine.readPosition >= engine.totalSamples;
    }
    return engine.readPosition <= 0;
}

}  // namespace orlo::sonrel::detail
