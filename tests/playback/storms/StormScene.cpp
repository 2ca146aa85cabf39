// SPDX-License-Identifier: MIT
#include "tests/playback/storms/StormScene.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"

namespace sonrel_tests {

/// An effect that takes time and changes nothing.
class SleepingEffect : public project::AbstractPluginAudio {
public:
    std::atomic<int> milliseconds = 0;

    int PluginKind() const override { return 1; }

    int RequiredRanges(project::EffectInstance*, int /*channels*/, int /*sampleRate*/,
                       int /*bitsPerSample*/, int /*sampleCount*/, int /*timelineMs*/,
                       int /*startMs*/, int /*endMs*/, long long /*firstSample*/,
                       long long /*objectOffset*/, std::vector<project::SampleRange>*,
                       bool /*previewing*/) override {
        return 0;
    }

    int ProcessAudio(project::EffectInstance*, int /*channels*/, int /*sampleRate*/,
                     int /*bitsPerSample*/, unsigned char*, int /*inputCount*/, int /*outputCount*/,
                     int /*timelineMs*/, int /*startMs*/, int /*endMs*/, long long /*firstSample*/,
                     long long /*inputFirstSample*/, long long /*objectOffset*/,
                     bool /*previewing*/) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        return 0;
    }
};

StormScene::StormScene(unsigned int seed)
    : media_(builder_.AddMedia(Noise(20000, seed + 2))),
      emptyMedia_(builder_.AddSilentMedia()),
      composition_(builder_.AddComposition({50.0, RATE, 30})),
      refusedRate_(std::make_shared<project::CompositionAsset>()),
      effect_(std::make_shared<SleepingEffect>()) {
    for (std::size_t track = 0; track < objects_.size(); ++track) {
        objects_[track] = builder_.AddObject(
            builder_.AddMedia(Noise(SAMPLES_A_FRAME * FRAMES, seed + static_cast<unsigned>(track))),
            0, FRAMES);
    }
    builder_.AddLayer(composition_, media_, 0, 30);
    Apply({25.0, 7999, 30}, refusedRate_->Settings());
    effectInstance_ = objects_[0]->AddEffect(effect_);
}

std::shared_ptr<project::EditorSequence> StormScene::TemporarySequence() {
    auto sequence = std::make_shared<project::EditorSequence>();
    Apply({25.0, RATE, 200}, sequence->Settings());
    return sequence;
}

void StormScene::Resize(int frames, double frameRate) {
    Apply({frameRate, RATE, frames}, Sequence()->Settings());
}

void StormScene::AddTrack() {
    if (Sequence()->AudioTracks().size() < MAX_TRACKS) builder_.AddTrack();
}

void StormScene::Mute(sonrel::AudioMixer& mixer, int track, bool muted) {
    const std::lock_guard guard(mixer.Mutex());
    Sequence()->AudioTracks()[static_cast<std::size_t>(track)]->SetMuted(muted);
}

void StormScene::SetLevel(sonrel::AudioMixer& mixer, int track, int decibels) {
    const std::lock_guard guard(mixer.Mutex());
    objects_[static_cast<std::size_t>(track)]->Animation().SetStaticValue(
        "audioLevel", static_cast<float>(decibels));
}

void StormScene::EnableEffect(bool enabled) {
    effectInstance_->SetEnabled(enabled);
}

void StormScene::SlowDown(int milliseconds) {
    effect_->milliseconds = std::max(0, milliseconds);
}

}  // namespace sonrel_tests
