// SPDX-License-Identifier: MIT
// Mixes the first five seconds of a media file to standard output:
//   01_mix_a_clip recording.flac | aplay -f dat
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
#include "sonrel/project.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const auto project = std::make_shared<project::Project>();
    const auto asset = project::ImportMediaAsset(project->Manager(), zrtl::FromUtf8(argv[1]));
    project->Assets().Add(asset);

    const auto& sequence = project->Sequence();  // 25 frames a second, 48000 Hz
    sequence->Settings().SetFrameCount(5 * 25);
    const auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
    clip->SetRange(0, 5 * 25);
    sequence->AddAudioTrack()->Objects().Add(clip);

    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);

    // The same bytes on every run. The default seed is taken from the clock.
    engine->Mixer()->SetDither(sonrel::DitherType::HighPassTriangular, 1);
    std::vector<unsigned char> samples(5 * 48000 * 4);
    engine->Mixer()->GetSamples(project, sequence, 0, 5 * 48000, samples.data(), 0, 0, 0);
    std::fwrite(samples.data(), 1, samples.size(), stdout);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
