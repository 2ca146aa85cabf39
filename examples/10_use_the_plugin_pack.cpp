// SPDX-License-Identifier: MIT
// Two clips of a recording with plugins of the pack: a low-pass filter, a cross-fade and a ducking
// effect, which lowers the second clip while a key sounds. Prints the extreme values of the mix:
//   10_use_the_plugin_pack recording.flac
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/plugins/pack/Ducking.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "sonrel/project.h"

namespace project = orlo::project;
namespace PluginPack = orlo::sonrel::PluginPack;

constexpr int RATE = 48000;

/// A clip of the asset from a frame of the sequence on, with the same frames of its sound.
std::shared_ptr<project::AssetAudioObject> Add(project::AudioTrack& track,
                                               const project::MediaAsset& asset, int start,
                                               int end) {
    auto clip = std::make_shared<project::AssetAudioObject>(asset.ID());
    clip->SetRange(start, end);
    clip->SetSourceStartFrame(start);
    track.Objects().Add(clip);
    return clip;
}

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const auto project = std::make_shared<project::Project>();
    const auto asset = project::ImportMediaAsset(project->Manager(), zrtl::FromUtf8(argv[1]));
    project->Assets().Add(asset);
    const auto& sequence = project->Sequence();
    sequence->Settings().SetFrameCount(25);
    const auto track = sequence->AddAudioTrack();
    const auto clip = Add(*track, *asset, 0, 12);
    const auto next = Add(*track, *asset, 12, 25);

    clip->AddEffect(PluginPack::CreateEffect("low-pass", {{"frequencyHz", 4000.0}}));
    project::JoinWithTransition(
        track->Objects(), clip->ID(), next->ID(),
        PluginPack::CreateTransition("cross-fade", {{"curve", PluginPack::CurveNumber("linear")}}),
        4, -2);

    // The key sounds in the whole second.
    const std::vector<int> peaks(RATE / PluginPack::DuckingCellFrames(RATE), 10000);
    const auto curve = PluginPack::DuckingCurve(peaks, {{"depthDb", -20.0}}, RATE);
    for (const auto& object : track->Objects().All()) {
        const long long start = object->StartFrame() * (RATE / 25);
        object->AddEffect(PluginPack::CreateDucking(curve, start));
    }

    std::string reason;
    const auto engine = orlo::sonrel::Sonrel::Create(
        L"media.db", L"media-cache", &reason, orlo::sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);
    engine->Mixer()->SetDither(orlo::sonrel::DitherType::None, 1);
    std::vector<short> mix(2 * RATE);
    engine->Mixer()->GetSamples(project, sequence, 0, RATE,
                                reinterpret_cast<unsigned char*>(mix.data()), 0, 0, 0);
    const auto [low, high] = std::ranges::minmax(mix);
    std::printf("from %d to %d, of 32768\n", low, high);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
