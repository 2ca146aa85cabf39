// SPDX-License-Identifier: MIT

// Puts one recording on two tracks, one left and quiet, one right and fading, and prints the peak
// of each channel:
//   02_levels_and_balance recording.flac
#include <algorithm>
#include <cstdio>
#include <cstdlib>
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
    const auto& sequence = project->Sequence();
    sequence->Settings().SetFrameCount(25);  // one second

    const auto addTrack = [&](float balance) {
        const auto track = sequence->AddAudioTrack();
        track->Animation().SetStaticValue("stereoBalance", balance);
        auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
        clip->SetRange(0, 25);
        track->Objects().Add(clip);
        return clip;
    };
    addTrack(-1.0f)->Animation().SetStaticValue("audioLevel", -12.0f);
    const auto fading = addTrack(1.0f);
    fading->Animation().SetKeyframe("audioLevel", 0, 0.0f);
    fading->Animation().SetKeyframe("audioLevel", 1000, -40.0f);

    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);
    engine->Mixer()->SetDither(sonrel::DitherType::HighPassTriangular, 1);
    std::vector<short> samples(48000 * 2);
    engine->Mixer()->GetSamples(project, sequence, 0, 48000,
                                reinterpret_cast<unsigned char*>(samples.data()), 0, 0, 0);

    int peak[2] = {0, 0};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        peak[i % 2] = std::max(peak[i % 2], std::abs(samples[i]));
    }
    std::printf("left %d, right %d, of 32768\n", peak[0], peak[1]);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
