// SPDX-License-Identifier: MIT
// One thread mixes a recording repeatedly; the main thread mutes its track meanwhile:
//   04_edit_while_mixing recording.flac
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
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
    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);
    const auto& mixer = engine->Mixer();
    mixer->SetDither(sonrel::DitherType::None, 1);

    std::atomic<int> mixes = 0;
    std::atomic<bool> stop = false;
    bool sounding = false;
    std::thread mixing([&] {
        std::vector<unsigned char> samples(48000 * 4);
        for (bool last = false; !last; ++mixes, mixes.notify_one()) {
            last = stop;
            mixer->GetSamples(project, sequence, 0, 48000, samples.data(), 0, 0, 0);
            sounding = std::any_of(samples.begin(), samples.end(), [](int v) { return v != 0; });
        }
    });
    mixes.wait(0);
    {
        const std::lock_guard lock(mixer->Mutex());  // held during an edit
        track->SetMuted(true);
    }
    stop = true;
    mixing.join();
    std::printf("%d mixes, the last one %s\n", mixes.load(), sounding ? "sounds" : "is silent");
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
