// SPDX-License-Identifier: MIT

// The cost of effects in a mix: sixteen tracks mixed frame by frame, without effects and with a
// chain of four effects on each clip. Allocations are for each block of all tracks, without the
// first block.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "bench/AllocationCounter.h"
#include "sonrel/plugins/pack/PluginPack.h"
#include "tests/support/MixRig.h"
#include "tests/support/ProjectBuilder.h"

namespace {

using namespace sonrel_tests;
using orlo::sonrel::PluginPack::CreateEffect;
using AddChain = std::function<void(project::AssetAudioObject&)>;

constexpr int TRACKS = 16;
constexpr int FRAMES = 250;  // ten seconds
constexpr int FRAME = 1920;

void Measure(benchmark::State& state, const AddChain& addChain) {
    ProjectBuilder builder(Format{25.0, 48000, FRAMES});
    const auto media = builder.AddMedia(Noise(FRAMES * FRAME, 1));
    for (int track = 0; track < TRACKS; ++track) {
        addChain(*builder.AddObject(media, 0, FRAMES));
    }
    MixRig rig;
    std::vector<unsigned char> mix(FRAME * 4);
    // From the third second on, so that all earlier samples that an effect needs exist.
    int frame = 75;
    const auto mixFrame = [&] {
        rig.Mixer().GetSamples(builder.Project(), builder.Sequence(),
                               static_cast<long long>(frame) * FRAME, FRAME, mix.data(),
                               static_cast<int>(mix.size()), 0, 0);
        frame = frame + 1 < FRAMES ? frame + 1 : 75;
    };
    mixFrame();

    const std::size_t before = sonrel_bench::Allocations();
    std::size_t blocks = 0;
    for (auto _ : state) {
        mixFrame();
        ++blocks;
    }
    state.counters["allocations"] =
        static_cast<double>(sonrel_bench::Allocations() - before) / static_cast<double>(blocks);
    state.counters["realtime"] =
        benchmark::Counter(static_cast<double>(blocks) / 25.0, benchmark::Counter::kIsRate);
}

void AsTheyAre(benchmark::State& state) {
    Measure(state, [](project::AssetAudioObject&) {});
}

void FourGains(benchmark::State& state) {
    Measure(state, [](project::AssetAudioObject& clip) {
        for (int i = 0; i < 4; ++i) clip.AddEffect(CreateEffect("gain", {{"gainDb", -1}}));
    });
}

void DelayInFrontOfFilter(benchmark::State& state) {
    Measure(state, [](project::AssetAudioObject& clip) {
        clip.AddEffect(CreateEffect("delay"));
        clip.AddEffect(CreateEffect("high-pass", {{"frequencyHz", 80}}));
        clip.AddEffect(CreateEffect("gain", {{"gainDb", -3}}));
        clip.AddEffect(CreateEffect("fade", {{"inFrames", 25}}));
    });
}

void FilterInFrontOfDelay(benchmark::State& state) {
    Measure(state, [](project::AssetAudioObject& clip) {
        clip.AddEffect(CreateEffect("high-pass", {{"frequencyHz", 80}}));
        clip.AddEffect(CreateEffect("delay"));
        clip.AddEffect(CreateEffect("gain", {{"gainDb", -3}}));
        clip.AddEffect(CreateEffect("fade", {{"inFrames", 25}}));
    });
}

BENCHMARK(AsTheyAre)->Unit(benchmark::kMicrosecond);
BENCHMARK(FourGains)->Unit(benchmark::kMicrosecond);
BENCHMARK(DelayInFrontOfFilter)->Unit(benchmark::kMicrosecond);
BENCHMARK(FilterInFrontOfDelay)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
