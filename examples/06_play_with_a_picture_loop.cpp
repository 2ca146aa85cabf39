// SPDX-License-Identifier: MIT
// Plays a recording twice while a loop shows the video frame that is heard:
//   06_play_with_a_picture_loop recording.flac
// The sound goes to an output that plays in real time and drops it. Without the line that sets
// the output it goes to the sound device.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/VirtualOutput.h"
#include "sonrel/project.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;
using sonrel::PlaybackEngine;

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const auto project = std::make_shared<project::Project>();
    const auto asset = project::ImportMediaAsset(project->Manager(), zrtl::FromUtf8(argv[1]));
    project->Assets().Add(asset);
    const auto& sequence = project->Sequence();
    sequence->Settings().SetFrameCount(25);
    const auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
    clip->SetRange(0, 25);
    sequence->AddAudioTrack()->Objects().Add(clip);

    sonrel::SetAudioOutputFactory([] {
        return std::make_shared<sonrel::VirtualOutput>(sonrel::VirtualOutput::Clock::Paced);
    });
    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);
    engine->Mixer()->SetDither(sonrel::DitherType::HighPassTriangular, 1);
    if (engine->InitializePlaybackEngine() != PlaybackEngine::Err::NoError) return 1;
    PlaybackEngine& playback = *engine->Playback();
    if (playback.Initialize(project, sequence) != PlaybackEngine::Err::NoError) return 1;

    for (const auto direction :
         {PlaybackEngine::PlaybackDirection::Forward, PlaybackEngine::PlaybackDirection::Reverse}) {
        std::atomic<bool> ended = false;
        const int from = direction == PlaybackEngine::PlaybackDirection::Forward ? 0 : 24;
        playback.PlayFromFrame(
            from, direction, 1, [&](void*) { ended = true; }, nullptr);
        for (int shown = PlaybackEngine::NO_FRAME; !ended;) {
            const int heard = playback.CurrentPlaybackVideoFrame();
            if (heard != shown) std::printf("%d ", heard);
            shown = heard;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        playback.Stop();
        std::printf("ended at %d\n", playback.CurrentPlaybackVideoFrame());
    }
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
