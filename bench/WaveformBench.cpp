// SPDX-License-Identifier: MIT

// Images of peak files: whole streams of a minute to ten hours, and ten seconds of each. Where
// ffmpeg is installed, its showwavespic filter draws the same hour from a media file in the same
// run; the program exits 1 when the image is less than 60 times as fast.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "sonrel/waveform/WaveformPreview.h"
#include "tests/support/Noise.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using orlo::sonrel::WaveformPreview;
using sonrel_tests::Chunk;
using sonrel_tests::Little;
using sonrel_tests::PcmFormat;
using sonrel_tests::TemporaryFolder;
using Scale = WaveformPreview::Scale;
using Style = WaveformPreview::Style;

constexpr int RATE = 48000;
constexpr int WIDTH = 1800;
constexpr int HEIGHT = 280;
constexpr int RUNS = 5;
constexpr double WANTED_RATIO = 60.0;

const TemporaryFolder& Folder() {
    static const TemporaryFolder folder;
    return folder;
}

long long SamplesOf(long long minutes) {
    return minutes * 60 * RATE;
}

/// A stereo peak file that rises and falls, made once.
std::wstring PeakPath(long long minutes) {
    const std::string name = std::to_string(minutes) + ".xwpk";
    if (!std::filesystem::exists(Folder() / name)) {
        std::ofstream file(Folder() / name, std::ios::binary);
        const long long blocks = SamplesOf(minutes) / 32;
        file << "ORLOXWPK" << Little(1, 4) << Little(2, 4)
             << Little(static_cast<std::uint64_t>(blocks), 4);
        std::string second;
        for (long long block = 0; block < blocks; ++block) {
            const auto level = static_cast<char>(block / 1500 % 127 * (block % 7 + 1) / 7);
            second += level;
            for (int channel = 0; channel < 2; ++channel) {
                second += static_cast<char>(-level);
                second += level;
            }
            if (second.size() < 1 << 20) continue;
            file << second;
            second.clear();
        }
        file << second;
    }
    return Folder().Wide(name);
}

void Draw(benchmark::State& state, long long minutes, const WaveformPreview& preview) {
    std::vector<unsigned char> image(4 * WIDTH * HEIGHT);
    for (auto _ : state) {
        const int result = preview.CreateImage(WIDTH, HEIGHT, WaveformPreview::Format::ARGB32,
                                               image.data(), static_cast<int>(image.size()));
        if (result != 0) state.SkipWithError("no image");
    }
    state.counters["blocks"] = static_cast<double>(SamplesOf(minutes) / 32);
}

void WholeStream(benchmark::State& state) {
    WaveformPreview preview(RATE, SamplesOf(state.range(0)), 2, PeakPath(state.range(0)));
    preview.SetPreviewStyle(static_cast<Style>(state.range(1)));
    preview.SetPreviewScale(static_cast<Scale>(state.range(2)));
    Draw(state, state.range(0), preview);
}
BENCHMARK(WholeStream)
    ->ArgNames({"minutes", "style", "scale"})
    ->Args({1, 2, 0})
    ->Args({60, 0, 0})
    ->Args({60, 1, 0})
    ->Args({60, 2, 0})
    ->Args({60, 2, 1})
    ->Args({600, 2, 0})
    ->Unit(benchmark::kMillisecond);

void TenSeconds(benchmark::State& state) {
    WaveformPreview preview(RATE, SamplesOf(state.range(0)), 2, PeakPath(state.range(0)));
    preview.SetPreviewStyle(static_cast<Style>(state.range(1)));
    preview.SetPreviewRangeTime(30.0, 40.0);
    Draw(state, state.range(0), preview);
}
BENCHMARK(TenSeconds)
    ->ArgNames({"minutes", "style"})
    ->ArgsProduct({{1, 60, 600}, {0, 2}})
    ->Unit(benchmark::kMicrosecond);

/// Processor time of finished children or of this process, in seconds.
double ProcessorTime(int who) {
    rusage usage = {};
    getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime);
}

/// The hour as a 16-bit media file.
std::string MediaPath() {
    const std::string path = (Folder() / "hour.wav").string();
    std::ofstream file(path, std::ios::binary);
    const auto bytes = static_cast<std::uint64_t>(4 * SamplesOf(60));
    file << "RIFF" << Little(36 + bytes, 4) << "WAVE" << Chunk("fmt ", PcmFormat(1, 2, RATE, 16))
         << "data" << Little(bytes, 4);
    const std::string minute = sonrel_tests::NoiseBytes(std::size_t{60} * RATE * 4);
    for (int i = 0; i < 60; ++i) file << minute;
    return path;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// User time of both programs to draw the hour, alternately.
/// @return whether the image is fast enough, or ffmpeg is not installed
bool CompareWithFilter() {
    if (std::system("command -v ffmpeg >/dev/null 2>&1") != 0) return true;
    const std::string command = "ffmpeg -v error -nostdin -y -i '" + MediaPath() +
                                "' -filter_complex showwavespic=s=1800x280 -frames:v 1 '" +
                                (Folder() / "hour.png").string() + "'";
    const WaveformPreview preview(RATE, SamplesOf(60), 2, PeakPath(60));
    std::vector<unsigned char> image(4 * WIDTH * HEIGHT);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int run = 0; run < RUNS; ++run) {
        double begin = ProcessorTime(RUSAGE_SELF);
        for (int i = 0; i < RUNS; ++i) {
            if (preview.CreateImage(WIDTH, HEIGHT, WaveformPreview::Format::ARGB32, image.data(),
                                    static_cast<int>(image.size())) != 0) {
                return false;
            }
        }
        ours.push_back((ProcessorTime(RUSAGE_SELF) - begin) / RUNS);
        begin = ProcessorTime(RUSAGE_CHILDREN);
        if (std::system(command.c_str()) != 0) return false;
        theirs.push_back(ProcessorTime(RUSAGE_CHILDREN) - begin);
    }
    const double ratio = Median(theirs) / Median(ours);
    std::printf(
        "an hour at 1800x280, user time: peak file %.2f ms, showwavespic %.0f ms, ratio %.0f\n",
        1000 * Median(ours), 1000 * Median(theirs), ratio);
    return ratio >= WANTED_RATIO;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return CompareWithFilter() ? 0 : 1;
}
