// SPDX-License-Identifier: MIT

// Peak files: the summary of a block, the folds of the reader and the whole writer, and the
// reference, which works on one sample and one byte at a time.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/detail/BlockAnalysis.h"
#include "sonrel/project.h"
#include "tests/reference/ReferencePeaks.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/Noise.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using namespace orlo::sonrel;
using sonrel_tests::Little;
using sonrel_tests::NoiseBytes;
using zrh::media::ZRSampleDataType;

constexpr int HOUR_BLOCKS = 60 * 60 * 48000 / 32;
constexpr int IMAGE_WIDTH = 1800;

/// @param range  0 bits a sample, 1 whether they are floats, 2 channels
template <bool LITERAL>
void Summarise(benchmark::State& state) {
    const auto bits = static_cast<int>(state.range(0));
    const auto type = state.range(1) != 0 ? ZRSampleDataType::Float : ZRSampleDataType::Integer;
    const auto channels = static_cast<int>(state.range(2));
    std::string samples = NoiseBytes(static_cast<std::size_t>(32 * channels * bits / 8));
    if (type == ZRSampleDataType::Float) {
        for (int i = 0; i < 32 * channels; ++i) {
            const float x = static_cast<float>(i % 17 - 8) / 9.5f;
            std::memcpy(&samples[static_cast<std::size_t>(4 * i)], &x, 4);
        }
    }
    const auto* data = reinterpret_cast<const unsigned char*>(samples.data());
    const detail::SampleForm form = detail::SampleFormOf(type, bits);
    reference::BlockPeaks peaks(channels);
    unsigned char block[33] = {};
    for (auto _ : state) {
        if constexpr (LITERAL) {
            reference::Analyse(type, bits, data, channels, 32, &peaks);
            benchmark::DoNotOptimize(reference::Quantised(peaks));
        } else {
            detail::SummariseBlock(form, data, channels, 32, block);
            benchmark::DoNotOptimize(block);
        }
        benchmark::ClobberMemory();
    }
}

void Forms(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"bits", "float", "channels"});
    for (const int bits : {8, 16, 24, 32}) bench->Args({bits, 0, 2});
    bench->Args({32, 1, 2})->Args({16, 0, 1})->Args({16, 0, 6});
}
BENCHMARK(Summarise<true>)->Name("block, reference")->Apply(Forms);
BENCHMARK(Summarise<false>)->Name("block")->Apply(Forms);

/// An hour of stereo at 48000 Hz.
class HourFile {
public:
    HourFile() {
        sonrel_tests::WriteFile(folder_ / "p.xwpk", "ORLOXWPK" + Little(1, 4) + Little(2, 4) +
                                                        Little(HOUR_BLOCKS, 4) +
                                                        NoiseBytes(5u * HOUR_BLOCKS));
    }
    std::string Path() const { return (folder_ / "p.xwpk").string(); }
    std::wstring WidePath() const { return folder_.Wide("p.xwpk"); }

private:
    sonrel_tests::TemporaryFolder folder_;
};

const HourFile& Hour() {
    static const HourFile file;
    return file;
}

template <bool LITERAL, bool RMS>
void Fold(benchmark::State& state) {
    const auto blocks = static_cast<int>(state.range(0));
    const double step = std::max(1.0, static_cast<double>(blocks) / IMAGE_WIDTH);
    PeakFile file;
    if (!file.Open(Hour().WidePath())) state.SkipWithError("no file");
    reference::PeakReader referenceFile(Hour().Path(), 2, HOUR_BLOCKS);
    std::vector<signed char> peaks;
    std::vector<unsigned char> amplitudes;
    const int first = (HOUR_BLOCKS - blocks) / 2;
    for (auto _ : state) {
        auto& reader = [&]() -> auto& {
            if constexpr (LITERAL) {
                return referenceFile;
            } else {
                return file;
            }
        }
        ();
        if constexpr (RMS) {
            benchmark::DoNotOptimize(
                reader.GetRMSAmplitude(first, first + blocks, step, amplitudes));
        } else {
            benchmark::DoNotOptimize(reader.GetChannelPeaks(first, first + blocks, step, peaks));
        }
    }
}

constexpr int TEN_SECONDS = 10 * 48000 / 32;
BENCHMARK(Fold<true, false>)
    ->Name("peaks, reference")
    ->Arg(HOUR_BLOCKS)
    ->Arg(TEN_SECONDS)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Fold<false, false>)
    ->Name("peaks")
    ->Arg(HOUR_BLOCKS)
    ->Arg(TEN_SECONDS)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Fold<true, true>)
    ->Name("rms, reference")
    ->Arg(HOUR_BLOCKS)
    ->Arg(TEN_SECONDS)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Fold<false, true>)
    ->Name("rms")
    ->Arg(HOUR_BLOCKS)
    ->Arg(TEN_SECONDS)
    ->Unit(benchmark::kMillisecond);

/// The whole writer on ten minutes of stereo in 16 bits.
void Create(benchmark::State& state) {
    const sonrel_tests::TemporaryFolder folder;
    const std::string sound = NoiseBytes(10u * 60u * 48000u * 4u);
    sonrel_tests::WriteFile(
        folder / "a.wav",
        sonrel_tests::Riff(sonrel_tests::Chunk("fmt ", sonrel_tests::PcmFormat(1, 2, 48000, 16)) +
                           sonrel_tests::Chunk("data", sound)));
    const auto asset = sonrel_tests::MakeMediaAsset(std::make_shared<orlo::project::MediaManager>(),
                                                    folder.Wide("a.wav"));
    for (auto _ : state) {
        const int code = PeakFile::Create(asset, folder.Wide("p.xwpk"),
                                          static_cast<PeakFile::CreateMode>(state.range(0)));
        if (code != 0) state.SkipWithError("not made");
    }
}
BENCHMARK(Create)
    ->Name("create")
    ->ArgName("mode")
    ->Arg(1)
    ->Arg(2)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
