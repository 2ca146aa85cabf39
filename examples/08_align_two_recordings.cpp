// SPDX-License-Identifier: MIT
// Finds the offset between two recordings of one event:
//   08_align_two_recordings camera.wav recorder.wav
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/project.h"
#include "sonrel/sync/AudioSync.h"

namespace project = orlo::project;
using orlo::sonrel::AudioSync;
using orlo::sonrel::Sonrel;

/// Ends the program if the file cannot be read.
std::shared_ptr<project::MediaAsset> Import(const std::shared_ptr<project::MediaManager>& manager,
                                            const char* path) {
    try {
        return project::ImportMediaAsset(manager, zrtl::FromUtf8(path));
    } catch (const zrh::media::ZRMediaException& error) {
        std::fprintf(stderr, "cannot read %s: %s\n", path,
                     zrh::media::MediaErrorText(error.Code()).c_str());
        std::exit(1);
    }
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    constexpr int RATE = 48000;
    const auto project = std::make_shared<project::Project>();
    std::string reason;
    const auto engine =
        Sonrel::Create(L"media.db", L"media-cache", &reason, Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    const auto prepare = [&](const char* path) {
        auto asset = Import(project->Manager(), path);
        const auto database = engine->OpenMediaDatabaseConnection();
        orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(
            asset, RATE, engine->MediaCacheFolderPath(), engine->MediaCacheErrorLog(), database,
            true);
        orlo::sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(
            asset, engine->MediaCacheFolderPath(), engine->MediaCacheErrorLog(), database, true);
        return asset;
    };
    const auto a = prepare(argv[1]);
    const auto b = prepare(argv[2]);

    const auto found = AudioSync::FindOffset(
        engine, a, b, RATE,
        [](int done, int total) { std::fprintf(stderr, "\r%d of %d", done, total); }, nullptr);

    // Measured again on the overlap, the offset is exact.
    const long long startB = std::max(0LL, -found.offset);
    const long long startA = startB + found.offset;
    const long long overlap = std::min(a->AudioStream()->ConformedSampleCount() - startA,
                                       b->AudioStream()->ConformedSampleCount() - startB);
    const int count = static_cast<int>(std::clamp<long long>(overlap, 0, 5 * RATE));
    const auto exact = AudioSync::CompareRanges(engine, a, b, count, startA, startB);
    const double seconds = static_cast<double>(found.offset + exact.offset) / RATE;
    std::printf("the second starts %.6f s after the first, correlation %.3f\n", seconds,
                exact.correlation);
}
