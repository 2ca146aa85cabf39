// SPDX-License-Identifier: MIT
// Meters the mix of a recording in blocks of a tenth of a second:
//   03_meter_a_mix recording.flac
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
    const auto& sequence = project->Sequence();
    sequence->Settings().SetFrameCount(25);
    const auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
    clip->SetRange(0, 25);
    const auto track = sequence->AddAudioTrack();
    track->Objects().Add(clip);
    sequence->AudioMasterTrack()->Animation().SetStaticValue("audioLevel", -6.0f);

    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);
    const auto& mixer = engine->Mixer();
    mixer->SetDither(sonrel::DitherType::HighPassTriangular, 1);
    mixer->StartMeterSession(sequence->AudioTracks().size(), 4800);
    std::vector<unsigned char> samples(48000 * 4);
    mixer->GetSamples(project, sequence, 0, 48000, samples.data(), 0, 0, 0);
    mixer->StopMeterSession();

    // The track is metered before the master level, the master after it.
    for (unsigned long long block = 0; block < mixer->MeterBlockCount(); ++block) {
        const sonrel::AudioMetrics metrics = mixer->MetricsForBlock(block);
        const sonrel::AudioTrackMetrics& first = metrics.trackMetrics.front();
        const sonrel::AudioTrackMetrics& master = metrics.masterMetrics;
        std::printf("%llu00 ms  track %.3f %.3f%s  master %.3f %.3f\n", block, first.peak[0],
                    first.peak[1], first.clipped[0] || first.clipped[1] ? " clipped" : "",
                    master.peak[0], master.peak[1]);
    }
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
