// SPDX-License-Identifier: MIT

// Filters a recording with an effect, which averages eight samples, and prints the extreme values
// of the first second. The effect reads earlier samples and has no state:
//   05_write_an_effect recording.flac
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
#include "sonrel/plugins/AbstractPluginAudio.h"
#include "sonrel/project.h"
namespace project = orlo::project;

struct Average : project::AbstractPluginAudio {
    int PluginKind() const override { return 1; }
    int RequiredRanges(project::EffectInstance*, int, int, int, int count, int, int, int,
                       long long first, long long sourceStart,
                       std::vector<project::SampleRange>* ranges, bool) override {
        ranges->push_back({std::max(first - 7, sourceStart), first + count});
        return 0;
    }
    int ProcessAudio(project::EffectInstance*, int, int, int, unsigned char* bytes, int, int count,
                     int, int, int, long long first, long long inputFirst, long long,
                     bool) override {
        auto* const values = reinterpret_cast<short*>(bytes);  // interleaved, left first
        const int before = 2 * static_cast<int>(first - inputFirst);
        const std::vector<short> input(values, values + before + 2 * count);
        for (int i = 0; i < 2 * count; ++i) {
            int sum = 0;
            for (int at = before + i; at >= 0 && at > before + i - 16; at -= 2) sum += input[at];
            values[i] = static_cast<short>(sum / 8);
        }
        return 0;
    }
};

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const auto project = std::make_shared<project::Project>();
    const auto asset = project::ImportMediaAsset(project->Manager(), zrtl::FromUtf8(argv[1]));
    project->Assets().Add(asset);
    project->Sequence()->Settings().SetFrameCount(25);
    const auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
    clip->SetRange(0, 25);
    clip->AddEffect(std::make_shared<Average>());
    project->Sequence()->AddAudioTrack()->Objects().Add(clip);
    using orlo::sonrel::Sonrel;
    std::string reason;
    const auto engine =
        Sonrel::Create(L"media.db", L"media-cache", &reason, Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s\n", reason.c_str());
        return 1;
    }
    orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(project, engine, true);
    engine->Mixer()->SetDither(orlo::sonrel::DitherType::HighPassTriangular, 1);
    std::vector<short> mix(2 * 48000);
    engine->Mixer()->GetSamples(project, project->Sequence(), 0, 48000,
                                reinterpret_cast<unsigned char*>(mix.data()), 0, 0, 0);
    const auto [low, high] = std::ranges::minmax(mix);
    std::printf("from %d to %d, of 32768\n", low, high);
} catch (const zrh::media::ZRMediaException& error) {
    std::fprintf(stderr, "cannot read %s: %s\n", argv[1],
                 zrh::media::MediaErrorText(error.Code()).c_str());
    return 1;
}
