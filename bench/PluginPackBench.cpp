// SPDX-License-Identifier: MIT
// The effects of the pack, block by block as in a mix: one video frame at 25 frames a second and
// 48000 Hz, with all earlier samples that they request. "realtime" is the duration of the sound
// divided by the processor time, and "frame" the processor time of a stereo frame. Blocks at the
// first sample of a source, named AtStart, have no run-in.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/AllocationCounter.h"
#include "sonrel/plugins/pack/Ducking.h"
#include "sonrel/plugins/pack/PluginPack.h"

namespace {

using namespace orlo::sonrel::PluginPack;
using orlo::project::AbstractPluginAudio;
using orlo::project::SampleRange;

constexpr int RATE = 48000;
constexpr int BLOCK = 1920;
constexpr long long FIRST = 10LL * RATE;
constexpr int FRAME_BYTES = 4;

using Chain = std::vector<std::shared_ptr<AbstractPluginAudio>>;

/// The buffers of a chain for one block, made once.
struct Rig {
    Chain chain;
    std::vector<SampleRange> ranges;  // the first is the caller's, the last the source's
    std::vector<unsigned char> input;
    std::vector<unsigned char> samples;

    Rig(Chain effects, bool silent, long long first) : chain(std::move(effects)) {
        ranges.push_back({first, first + BLOCK});
        for (auto effect = chain.rbegin(); effect != chain.rend(); ++effect) {
            const SampleRange output = ranges.back();
            std::vector<SampleRange> needed;
            (*effect)->RequiredRanges(nullptr, 2, RATE, 16,
                                      static_cast<int>(output.endExclusive - output.first), 0, 0, 0,
                                      output.first, 0, &needed, false);
            ranges.push_back(needed.empty() ? output : needed.front());
        }
        const SampleRange& source = ranges.back();
        input.resize(static_cast<std::size_t>(source.endExclusive - source.first) * FRAME_BYTES);
        std::mt19937 generator(1);
        for (unsigned char& byte : input) byte = static_cast<unsigned char>(generator());
        // Sound that has ended: the state of a filter decays over the block.
        if (silent) std::fill(input.begin() + 64, input.end(), 0);
        samples = input;
    }

    void Run() {
        std::memcpy(samples.data(), input.data(), input.size());
        std::size_t at = ranges.size() - 1;
        for (const auto& effect : chain) {
            const SampleRange& from = ranges[at--];
            const SampleRange& to = ranges[at];
            effect->ProcessAudio(nullptr, 2, RATE, 16, samples.data(),
                                 static_cast<int>(from.endExclusive - from.first),
                                 static_cast<int>(to.endExclusive - to.first), 0, 0, 0, to.first,
                                 from.first, 0, false);
        }
    }
};

void Measure(benchmark::State& state, Chain chain, bool silent = false, long long first = FIRST) {
    Rig rig(std::move(chain), silent, first);
    rig.Run();
    const std::size_t before = sonrel_bench::Allocations();
    std::size_t blocks = 0;
    for (auto _ : state) {
        rig.Run();
        benchmark::DoNotOptimize(rig.samples.data());
        ++blocks;
    }
    state.counters["allocations"] = static_cast<double>(sonrel_bench::Allocations() - before);
    state.counters["realtime"] =
        benchmark::Counter(static_cast<double>(blocks) * BLOCK / RATE, benchmark::Counter::kIsRate);
    state.counters["frame"] =
        benchmark::Counter(static_cast<double>(blocks) * BLOCK,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

const Parameters INSIDE_A_FADE = {{"inFrames", 1000}};
const Parameters AFTER_ITS_FADE = {{"inFrames", 2}, {"outFrames", 2}, {"objectFrames", 10000}};

void Copy(benchmark::State& state) {
    Measure(state, {});
}
void Gain(benchmark::State& state) {
    Measure(state, {CreateEffect("gain", {{"gainDb", -6}})});
}
void FadeRunning(benchmark::State& state) {
    Measure(state, {CreateEffect("fade", INSIDE_A_FADE)});
}
void FadeDone(benchmark::State& state) {
    Measure(state, {CreateEffect("fade", AFTER_ITS_FADE)});
}
void Delay(benchmark::State& state) {
    Measure(state, {CreateEffect("delay")});
}
void DelayOfEightTaps(benchmark::State& state) {
    Measure(state, {CreateEffect("delay", {{"taps", 8}})});
}
void LowPass(benchmark::State& state) {
    Measure(state, {CreateEffect("low-pass")});
}
void LowPassOverSilence(benchmark::State& state) {
    Measure(state, {CreateEffect("low-pass")}, true);
}
void HighPass(benchmark::State& state) {
    Measure(state, {CreateEffect("high-pass")});
}
/// The parameters of an effect that changes every frame of noise at full scale.
Parameters BusyParameters(const std::string& effect) {
    if (effect == "equalizer") return {{"lowDb", 3}, {"midDb", -4}, {"highDb", 2}};
    if (effect == "compressor") return {{"thresholdDb", -30}, {"attackMs", 20}, {"releaseMs", 250}};
    if (effect == "gate") return {{"thresholdDb", 0}, {"attackMs", 20}, {"releaseMs", 250}};
    return {{"ceilingDb", -3}, {"attackMs", 5}, {"releaseMs", 50}};
}
void WithRunIn(benchmark::State& state, const char* effect) {
    Measure(state, {CreateEffect(effect, BusyParameters(effect))});
}
void AtStart(benchmark::State& state, const char* effect) {
    Measure(state, {CreateEffect(effect, BusyParameters(effect))}, false, 0);
}
/// Inside a fall of the level; an effect of ducking has no run-in.
void Ducked(benchmark::State& state) {
    std::vector<int> peaks(100, 0);
    peaks[20] = 32767;
    const auto curve = DuckingCurve(peaks, {{"attackMs", 200}}, RATE);
    Measure(state, {CreateDucking(curve, RATE / 50)}, false, 0);
}
void ChainOfFour(benchmark::State& state) {
    Measure(state, {CreateEffect("high-pass", {{"frequencyHz", 80}}), CreateEffect("delay"),
                    CreateEffect("gain", {{"gainDb", -3}}), CreateEffect("fade", AFTER_ITS_FADE)});
}
void ChainOfFourFilters(benchmark::State& state) {
    Measure(state, {CreateEffect("high-pass"), CreateEffect("low-pass"), CreateEffect("high-pass"),
                    CreateEffect("low-pass")});
}

void CrossFade(benchmark::State& state, const char* curve) {
    const auto plugin = CreateTransition("cross-fade", {{"curve", CurveNumber(curve)}});
    std::vector<unsigned char> from(BLOCK * FRAME_BYTES, 0x21);
    std::vector<unsigned char> to(BLOCK * FRAME_BYTES, 0x43);
    std::size_t blocks = 0;
    for (auto _ : state) {
        plugin->ProcessTransition(nullptr, 2, 2, RATE, 16, from.data(), BLOCK, to.data(), BLOCK,
                                  from.data(), BLOCK, 200, 1000, RATE, 500);
        benchmark::DoNotOptimize(from.data());
        ++blocks;
    }
    state.counters["realtime"] =
        benchmark::Counter(static_cast<double>(blocks) * BLOCK / RATE, benchmark::Counter::kIsRate);
}

BENCHMARK(Copy);
BENCHMARK(Gain);
BENCHMARK(FadeRunning);
BENCHMARK(FadeDone);
BENCHMARK(Delay);
BENCHMARK(DelayOfEightTaps);
BENCHMARK(LowPass);
BENCHMARK(LowPassOverSilence);
BENCHMARK(HighPass);
BENCHMARK_CAPTURE(WithRunIn, equalizer, "equalizer");
BENCHMARK_CAPTURE(WithRunIn, compressor, "compressor");
BENCHMARK_CAPTURE(WithRunIn, gate, "gate");
BENCHMARK_CAPTURE(WithRunIn, limiter, "limiter");
BENCHMARK_CAPTURE(AtStart, equalizer, "equalizer");
BENCHMARK_CAPTURE(AtStart, compressor, "compressor");
BENCHMARK_CAPTURE(AtStart, gate, "gate");
BENCHMARK_CAPTURE(AtStart, limiter, "limiter");
BENCHMARK(Ducked)->Name("AtStart/duck");
BENCHMARK(Ducked)->Name("WithRunIn/duck");
BENCHMARK(ChainOfFour);
BENCHMARK(ChainOfFourFilters);
BENCHMARK_CAPTURE(CrossFade, Linear, "linear");
BENCHMARK_CAPTURE(CrossFade, EqualPower, "equal-power");
BENCHMARK_CAPTURE(CrossFade, Decibel, "db");

}  // namespace

BENCHMARK_MAIN();
