// SPDX-License-Identifier: MIT
// The cost of a finer frame grid in a mix: a second of sixteen tracks at 25 frames a second and a
// grid of k frames for each of them, without effects and with a high-pass on each clip.
#include <benchmark/benchmark.h>

#include <functional>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/support/MixRig.h"
#include "tests/support/ProjectBuilder.h"

namespace {

using namespace sonrel_tests;
using AddChain = std::function<void(project::AssetAudioObject&)>;

constexpr int TRACKS = 16;
constexpr int RATE = 48000;
constexpr double FPS = 25.0;
constexpr int SECONDS = 4;

void Measure(benchmark::State& state, const AddChain& addChain) {
    const auto grid = static_cast<int>(state.range(0));
    const double fps = FPS * grid;
    const int frames = SECONDS * 25 * grid;
    ProjectBuilder builder(Format{fps, RATE, frames});
    const auto media = builder.AddMedia(Noise(SECONDS * RATE, 1));
    for (int track = 0; track < TRACKS; ++track) addChain(*builder.AddObject(media, 0, frames));
    MixRig rig;
    std::vector<unsigned char> mix(static_cast<std::size_t>(RATE / FPS) * 4);
    // The third second: all earlier samples that an effect needs exist.
    const int first = 2 * 25 * grid;
    const auto mixSecond = [&] {
        for (int frame = first; frame < first + 25 * grid; ++frame) {
            const long long begin = zrtl::FrameToSample(frame, RATE, fps);
            const auto count = static_cast<int>(zrtl::FrameToSample(frame + 1, RATE, fps) - begin);
            rig.Mixer().GetSamples(builder.Project(), builder.Sequence(), begin, count, mix.data(),
                                   static_cast<int>(mix.size()), 0, 0);
        }
    };
    mixSecond();

    for (auto _ : state) mixSecond();

    state.counters["realtime"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void WithoutEffects(benchmark::State& state) {
    Measure(state, [](project::AssetAudioObject&) {});
}

void HighPassOnEachClip(benchmark::State& state) {
    Measure(state, [](project::AssetAudioObject& clip) {
        clip.AddEffect(orlo::sonrel::PluginPack::CreateEffect("high-pass", {{"frequencyHz", 80}}));
    });
}

BENCHMARK(WithoutEffects)->DenseRange(1, 40)->Unit(benchmark::kMillisecond);
BENCHMARK(HighPassOnEachClip)->DenseRange(1, 40)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
