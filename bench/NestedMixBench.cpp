// SPDX-License-Identifier: MIT
// Compositions mixed frame by frame: a composition that shows a recording, alone and inside others.
// Each level reads the level below, mixes and converts to 16 bits, with the dither of the program
// or without. Allocations are for each frame, without the first frame.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "bench/AllocationCounter.h"
#include "tests/support/MixRig.h"
#include "tests/support/ProjectBuilder.h"

namespace {

using namespace sonrel_tests;

constexpr int FRAMES = 250;  // ten seconds
constexpr int FRAME = 1920;

/// The argument is the number of compositions around the composition of the recording.
void Nested(benchmark::State& state, orlo::sonrel::DitherType dither) {
    const Format format{25.0, 48000, FRAMES};
    ProjectBuilder builder(format);
    auto composition = builder.AddComposition(format);
    builder.AddLayer(composition, builder.AddMedia(Noise(FRAMES * FRAME, 1)), 0, FRAMES);
    for (int level = 0; level < state.range(0); ++level) {
        const auto outer = builder.AddComposition(format);
        builder.AddLayer(outer, composition, 0, FRAMES);
        composition = outer;
    }
    MixRig rig;
    rig.Mixer().SetDither(dither, 1);
    std::vector<unsigned char> mix(FRAME * 4);
    int frame = 0;
    const auto mixFrame = [&] {
        rig.Mixer().GetSamples(builder.Project(), composition,
                               static_cast<long long>(frame) * FRAME, FRAME, mix.data(),
                               static_cast<int>(mix.size()), 0, 0);
        frame = (frame + 1) % FRAMES;
    };
    mixFrame();

    const std::size_t before = sonrel_bench::Allocations();
    std::size_t frames = 0;
    for (auto _ : state) {
        mixFrame();
        ++frames;
    }
    state.counters["allocations"] =
        static_cast<double>(sonrel_bench::Allocations() - before) / static_cast<double>(frames);
}

void Levels(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(0)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(Nested, Dithered, orlo::sonrel::DitherType::HighPassTriangular)->Apply(Levels);
BENCHMARK_CAPTURE(Nested, Undithered, orlo::sonrel::DitherType::None)->Apply(Levels);

}  // namespace

BENCHMARK_MAIN();
