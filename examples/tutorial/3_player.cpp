// SPDX-License-Identifier: MIT
// The third program of docs/tutorial-host.md: plays recordings, one after another, and shows the
// frame that is heard and its levels:
//   player first.wav second.wav
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "sonrel/project.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;
using sonrel::PlaybackEngine;

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

/// An observer turns the meters of a run on. Its levels are polled.
class Metering : public sonrel::AbstractAudioMeterObserver {
public:
    void OnMeterSessionStart(int) override {}
    void OnMeterSessionStop() override {}
    void OnMeterUpdate(const sonrel::AudioMetrics&) override {}
};

/// A bar from -60 dB to full scale.
std::string Bar(float peak) {
    const double decibels = 20 * std::log10(std::max(peak, 0.001f));
    return std::string(static_cast<std::size_t>(std::min(60.0, 60 + decibels)), '#');
}

/// Plays from the first frame to the last, and shows each frame while it is heard.
void Play(PlaybackEngine& playback) {
    std::atomic<bool> ended = false;
    const auto end = [&](void*) { ended = true; };
    playback.PlayFromFrame(0, PlaybackEngine::PlaybackDirection::Forward, 1, end, nullptr);
    for (int shown = PlaybackEngine::NO_FRAME; !ended;) {
        const int heard = playback.CurrentPlaybackVideoFrame();
        if (heard != shown) {
            const auto levels = playback.CurrentPlaybackMetrics();
            std::printf("frame %3d  %s\n", heard, Bar(levels.masterMetrics.peak[0]).c_str());
        }
        shown = heard;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    playback.Stop();
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

    if (engine->InitializePlaybackEngine() != PlaybackEngine::Err::NoError) return 1;
    PlaybackEngine& playback = *engine->Playback();
    const auto result = playback.Initialize(project, sequence);
    if (result != PlaybackEngine::Err::NoError) {
        std::fprintf(stderr, "no sound device: error %d\n", static_cast<int>(result));
        return 1;
    }
    Metering metering;
    playback.AddMeterObserver(&metering);
    Play(playback);
    playback.RemoveMeterObserver(&metering);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read a recording: %s\n",
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
