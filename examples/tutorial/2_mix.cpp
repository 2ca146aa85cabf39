// SPDX-License-Identifier: MIT
// The second program of docs/tutorial-host.md: mixes recordings, one after another, and measures
// the loudness of the mix:
//   player first.wav second.wav
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/loudness/LoudnessMeter.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

constexpr int RATE = 48000;
constexpr int FPS = 25;

/// Adds a media file to the project and puts a clip of its whole sound at the end of the track.
void Append(project::Project& project, project::AudioTrack& track, const char* path) {
    const auto asset = project::ImportMediaAsset(project.Manager(), zrtl::FromUtf8(path));
    project.Assets().Add(asset);
    const project::MediaAudioStream& sound = *asset->AudioStream();
    const double seconds =
        static_cast<double>(sound.NativeSampleCount()) / sound.NativeSampleRate();

    auto& settings = project.Sequence()->Settings();
    const int start = settings.FrameCount();
    const int end = start + static_cast<int>(std::ceil(seconds * FPS));
    settings.SetFrameCount(end);
    const auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
    clip->SetRange(start, end);
    track.Objects().Add(clip);
}

int main(int argc, char** argv) try {
    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }

    const auto project = std::make_shared<project::Project>();
    const auto& sequence = project->Sequence();
    const auto track = sequence->AddAudioTrack();
    for (int i = 1; i < argc; ++i) Append(*project, *track, argv[i]);
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);

    const int count = sequence->Settings().FrameCount() * (RATE / FPS);
    std::vector<short> samples(2 * static_cast<std::size_t>(count));
    engine->Mixer()->SetDither(sonrel::DitherType::HighPassTriangular, 1);
    engine->Mixer()->GetSamples(project, sequence, 0, count,
                                reinterpret_cast<unsigned char*>(samples.data()), 0, 0, 0);

    sonrel::LoudnessMeter meter(RATE);
    meter.Add(samples.data(), static_cast<std::size_t>(count));
    if (const auto lufs = meter.IntegratedLufs()) std::printf("%.1f LUFS\n", *lufs);
    if (const auto peak = meter.TruePeakDb()) std::printf("%.1f dBTP\n", *peak);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read a recording: %s\n",
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
