// SPDX-License-Identifier: MIT
// Mixes a generated recording through the installed library and checks every sample.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "WaveFile.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project.h"

namespace {

namespace project = orlo::project;
using orlo::sonrel::Sonrel;

constexpr int RATE = 48000;
constexpr int FRAMES = 25;  // one second at the sequence's 25 frames a second

/// A ramp: left counts up by 1, right down by 3.
std::vector<std::int16_t> MakeSamples() {
    std::vector<std::int16_t> samples;
    for (int i = 0; i < RATE; ++i) {
        samples.push_back(static_cast<std::int16_t>(i % 30000));
        samples.push_back(static_cast<std::int16_t>(-3 * (i % 10000)));
    }
    return samples;
}

std::shared_ptr<project::Project> MakeProject(const std::filesystem::path& recording) {
    auto made = std::make_shared<project::Project>();
    const auto asset =
        project::ImportMediaAsset(made->Manager(), zrtl::FromUtf8(recording.string()));
    made->Assets().Add(asset);
    made->Sequence()->Settings().SetFrameCount(FRAMES);
    const auto clip = std::make_shared<project::AssetAudioObject>(asset->ID());
    clip->SetRange(0, FRAMES);
    made->Sequence()->AddAudioTrack()->Objects().Add(clip);
    return made;
}

int Run(const std::filesystem::path& folder) {
    const std::vector<std::int16_t> samples = MakeSamples();
    WriteWav(folder / "ramp.wav", RATE, samples);
    const auto made = MakeProject(folder / "ramp.wav");

    std::string error;
    const auto engine = Sonrel::Create(zrtl::FromUtf8((folder / "media.db").string()),
                                       zrtl::FromUtf8((folder / "cache").string()), &error,
                                       Sonrel::LogOption::WriteErrorLog);
    if (engine == nullptr) {
        std::fprintf(stderr, "consumer: no engine: %s\n", error.c_str());
        return 1;
    }
    orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(made, engine, true);

    std::vector<std::int16_t> mix(samples.size());
    engine->Mixer()->SetDither(orlo::sonrel::DitherType::None, 1);
    const int got = engine->Mixer()->GetSamples(
        made, made->Sequence(), 0, RATE, reinterpret_cast<unsigned char*>(mix.data()), 0, 0, 0);
    if (got != RATE || mix != samples) {
        std::fprintf(stderr, "consumer: %d samples, %s\n", got,
                     mix == samples ? "as they should be" : "and not the samples of the recording");
        return 1;
    }
    std::printf("consumer: %d samples mixed, the same as in the recording\n", got);
    return 0;
}

}  // namespace

int main() {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / std::filesystem::path("sonrel-consumer-XXXXXX");
    std::string name = folder.string();
    if (mkdtemp(name.data()) == nullptr) return 1;
    const int result = Run(name);
    std::filesystem::remove_all(name);
    return result;
}
