// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <memory>

#include "sonrel/mixer/AudioMixer.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

namespace sonrel = orlo::sonrel;

class SleepingEffect;

/// The targets of a storm: a sequence of two tracks, a composition, media, and targets that fail.
///
/// Threads: the thread of the commands.
class StormScene {
public:
    static constexpr int FRAMES = 120;  ///< of the sequence; more than two rings of buffers
    static constexpr int SAMPLES_A_FRAME = 320;
    static constexpr int RATE = 8000;

    explicit StormScene(unsigned int seed);

    const std::shared_ptr<project::Project>& Project() const { return builder_.Project(); }
    const std::shared_ptr<project::EditorSequence>& Sequence() const { return builder_.Sequence(); }
    const std::shared_ptr<project::CompositionAsset>& Composition() const { return composition_; }
    const std::shared_ptr<project::MediaAsset>& Media() const { return media_; }
    /// A media asset with neither sound nor picture.
    const std::shared_ptr<project::MediaAsset>& EmptyMedia() const { return emptyMedia_; }
    /// A target with a sample rate that playback refuses.
    const std::shared_ptr<project::CompositionAsset>& RefusedRate() const { return refusedRate_; }
    /// A new sequence without another owner.
    static std::shared_ptr<project::EditorSequence> TemporarySequence();

    /// Only while nothing plays.
    void Resize(int frames, double frameRate);
    void AddTrack();

    void Mute(sonrel::AudioMixer& mixer, int track, bool muted);
    void SetLevel(sonrel::AudioMixer& mixer, int track, int decibels);
    void EnableEffect(bool enabled);
    /// How long each use of the effect takes. A negative number is 0.
    void SlowDown(int milliseconds);

private:
    static constexpr std::size_t MAX_TRACKS = 6;

    ProjectBuilder builder_{{25.0, RATE, FRAMES}};
    std::shared_ptr<project::MediaAsset> media_;
    std::shared_ptr<project::MediaAsset> emptyMedia_;
    std::shared_ptr<project::CompositionAsset> composition_;
    std::shared_ptr<project::CompositionAsset> refusedRate_;
    std::array<std::shared_ptr<project::AssetAudioObject>, 2> objects_;
    std::shared_ptr<SleepingEffect> effect_;
    std::shared_ptr<project::EffectInstance> effectInstance_;
};

}  // namespace sonrel_tests
