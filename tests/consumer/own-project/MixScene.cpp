// SPDX-License-Identifier: MIT
// Mixes one scene and writes the samples: mix_with_... FOLDER
// The scene uses levels, balance, speed, a transition, an effect, a composition and a muted track.
// The program uses only operations that a project library of a host offers as well as ours.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "../WaveFile.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "sonrel/project.h"

namespace {

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

constexpr int RATE = 48000;
constexpr int FRAMES = 100;  // 4 seconds at 25 frames a second
constexpr int SAMPLES = FRAMES * RATE / 25;
constexpr int RECORDED = 5 * RATE;

std::wstring Wide(const std::filesystem::path& path) {
    return zrtl::FromUtf8(path.string());
}

/// A recording of noise that every machine makes alike.
std::vector<std::int16_t> MakeNoise(std::uint32_t seed) {
    std::vector<std::int16_t> samples;
    for (int i = 0; i < 2 * RECORDED; ++i) {
        seed = seed * 1664525u + 1013904223u;
        samples.push_back(static_cast<std::int16_t>(static_cast<int>(seed >> 17) - 16384));
    }
    return samples;
}

std::shared_ptr<project::MediaAsset> MakeRecording(const std::shared_ptr<project::Project>& scene,
                                                   const std::filesystem::path& path,
                                                   std::uint32_t seed) {
    WriteWav(path, RATE, MakeNoise(seed));
    auto asset = std::make_shared<project::MediaAsset>(scene->Manager(), Wide(path));
    asset->SetAudioStream(
        std::make_unique<project::MediaAudioStream>(RATE, RECORDED, project::ZRAudioCodec::Pcm));
    scene->Assets().Add(asset);
    return asset;
}

std::shared_ptr<project::AssetAudioObject> AddClip(project::AudioTrack& track,
                                                   const project::AbstractAsset& asset, int start,
                                                   int end, int sourceStart) {
    auto clip = std::make_shared<project::AssetAudioObject>(asset.ID());
    clip->SetRange(start, end);
    clip->SetSourceStartFrame(sourceStart);
    track.Objects().Add(clip);
    return clip;
}

std::shared_ptr<project::CompositionAsset> MakeComposition(project::Project& scene,
                                                           const project::AbstractAsset& asset) {
    auto composition = std::make_shared<project::CompositionAsset>();
    composition->Settings().SetFrameCount(FRAMES);
    scene.Assets().Add(composition);
    for (const int sourceStart : {0, 7}) {
        auto layer = std::make_shared<project::AssetLayer>(asset.ID());
        layer->SetRange(sourceStart, FRAMES);
        layer->SetSourceStartFrame(sourceStart);
        layer->Animation().SetStaticValue("audioLevel", -9.0f);
        composition->AddLayer(layer);
    }
    return composition;
}

void Join(const std::shared_ptr<project::AssetAudioObject>& from,
          const std::shared_ptr<project::AssetAudioObject>& to) {
    auto transition = std::make_shared<project::Transition>(
        sonrel::PluginPack::CreateTransition("cross-fade"), from->ID(), to->ID(), 20, -10);
    from->SetOutgoingTransition(transition);
    to->SetIncomingTransition(transition);
}

std::shared_ptr<project::Project> MakeScene(const std::filesystem::path& folder) {
    auto scene = std::make_shared<project::Project>();
    const auto first = MakeRecording(scene, folder / "first.wav", 1);
    const auto second = MakeRecording(scene, folder / "second.wav", 2);
    project::EditorSequence& sequence = *scene->Sequence();
    sequence.Settings().SetFrameCount(FRAMES);

    const auto joined = sequence.AddAudioTrack();
    const auto fading = AddClip(*joined, *first, 0, 60, 5);
    fading->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    fading->Animation().SetKeyframe("audioLevel", 2000, -12.0f);
    Join(fading, AddClip(*joined, *second, 60, FRAMES, 20));

    const auto fast = sequence.AddAudioTrack();
    fast->Animation().SetStaticValue("audioLevel", -3.0f);
    fast->Animation().SetStaticValue("stereoBalance", -0.5f);
    AddClip(*fast, *first, 10, 90, 0)->Animation().SetStaticValue("speed", 1.25);

    const auto nested = sequence.AddAudioTrack();
    AddClip(*nested, *MakeComposition(*scene, *second), 20, 80, 3)
        ->AddEffect(sonrel::PluginPack::CreateEffect("gain", {{"gainDb", -6.0}}));

    const auto muted = sequence.AddAudioTrack();
    muted->SetMuted(true);
    AddClip(*muted, *first, 0, FRAMES, 0);
    sequence.AudioMasterTrack()->Animation().SetStaticValue("audioLevel", -1.0f);
    return scene;
}

bool HasSoundInEverySecond(const std::vector<std::int16_t>& mix) {
    for (std::size_t second = 0; second < mix.size(); second += 2 * RATE) {
        int loud = 0;
        for (std::size_t i = second; i < second + 2 * RATE; ++i) loud += mix[i] > 1000;
        if (loud < RATE / 10) return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    const auto scene = MakeScene(folder);

    std::string error;
    const auto engine = sonrel::Sonrel::Create(Wide(folder / "media.db"), Wide(folder / "cache"),
                                               &error, sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "mix_scene: no engine: %s\n", error.c_str());
        return 1;
    }
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(scene, engine, true);

    std::vector<std::int16_t> mix(2 * SAMPLES);
    engine->Mixer()->SetDither(sonrel::DitherType::HighPassTriangular, 7);
    const int got =
        engine->Mixer()->GetSamples(scene, scene->Sequence(), 0, SAMPLES,
                                    reinterpret_cast<unsigned char*>(mix.data()), 0, 0, 0);
    if (got != SAMPLES || !HasSoundInEverySecond(mix)) {
        std::fprintf(stderr, "mix_scene: %d samples, or a second without sound\n", got);
        return 1;
    }
    std::ofstream(folder / "mix.pcm", std::ios::binary)
        .write(reinterpret_cast<const char*>(mix.data()),
               static_cast<std::streamsize>(mix.size() * sizeof(mix[0])));
    std::printf("mix_scene: %d samples\n", got);
    return 0;
}
