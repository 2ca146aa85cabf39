// SPDX-License-Identifier: MIT
// Draws the loudness of a recording as lines of text:
//   07_draw_a_waveform recording.flac
#include <cstdio>
#include <string>
#include <vector>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/ZRMediaException.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/project.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace project = orlo::project;
namespace sonrel = orlo::sonrel;

constexpr int WIDTH = 72;
constexpr int HEIGHT = 12;

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const auto manager = std::make_shared<project::MediaManager>();
    const auto asset = project::ImportMediaAsset(manager, zrtl::FromUtf8(argv[1]));
    std::string reason;
    const auto engine = sonrel::Sonrel::Create(L"media.db", L"media-cache", &reason,
                                               sonrel::Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    const auto database = std::make_shared<project::MediaDB>(L"media.db", L"media-cache", false);

    // The first run reads the recording, later ones find the peak file.
    sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(
        asset, engine->MediaCacheFolderPath(), engine->MediaCacheErrorLog(), database, true);
    const project::MediaAudioStream& stream = *asset->AudioStream();
    sonrel::PeakFile peaks;
    if (!peaks.Open(stream.WaveformPeakFilePath())) return 1;

    sonrel::WaveformPreview preview(stream.NativeSampleRate(), stream.NativeSampleCount(),
                                    peaks.ChannelCount(), stream.WaveformPeakFilePath());
    preview.SetPreviewScale(sonrel::WaveformPreview::Scale::Logarithmic);
    std::vector<unsigned char> image(4 * WIDTH * HEIGHT);
    const int result = preview.CreateImage(WIDTH, HEIGHT, sonrel::WaveformPreview::Format::ARGB32,
                                           image.data(), static_cast<int>(image.size()));
    if (result != 0) return 1;

    // A pixel is blue, green, red and alpha; the background is clear.
    for (int y = 0; y < HEIGHT; ++y) {
        for (int x = 0; x < WIDTH; ++x) std::putchar(image[4 * (y * WIDTH + x) + 3] ? '#' : ' ');
        std::putchar('\n');
    }
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
