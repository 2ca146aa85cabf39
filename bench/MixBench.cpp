// SPDX-License-Identifier: MIT
// The mix of a second of many tracks, by the mixer and by the reference, and parts of a mix: the
// first long request, the pool, the search among the open files.
//
// "times" is the time of the reference divided by that of the mixer, measured alternately in one
// run.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <fstream>
#include <locale>

#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "tests/reference/RandomScene.h"
#include "tests/support/MixRig.h"

namespace {

using namespace sonrel_tests;

constexpr int SECOND = 48000;
constexpr std::size_t LONG_MEDIA = 6;  // the longest, more than a second

double CpuSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double Measure(const auto& work) {
    const double start = CpuSeconds();
    work();
    return CpuSeconds() - start;
}

enum class Levels { Static, Ramped };

/// 16 tracks of one object each, at 25 frames a second.
reference::Scene SixteenTracks(Levels levels, double speed) {
    reference::Scene scene;
    scene.media = Shelf().Media();
    scene.sequence.settings = {25.0, 48000, 250};
    for (int i = 0; i < 16; ++i) {
        reference::Clip clip;
        clip.endFrame = 250;
        clip.media = LONG_MEDIA;
        clip.speed = speed;
        clip.level.fixed = -12.0f;
        if (levels == Levels::Ramped) {
            clip.level.keys = {{0, -20.0f}, {1000, -6.0f}};
        }
        reference::Track track;
        track.level.fixed = -3.0f;
        track.balance = 0.1f * static_cast<float>(i % 5 - 2);
        track.clips.push_back(clip);
        scene.sequence.tracks.push_back(track);
    }
    return scene;
}

/// Mixes a second, alternately by the mixer and by the reference; reports the CPU time of the
/// mixer.
void MixBesideReference(benchmark::State& state, const reference::Scene& scene, bool metered,
                        orlo::sonrel::DitherType dither) {
    const RealisedScene real(scene);
    MixRig rig;
    rig.Mixer().SetDither(dither, 1);
    reference::Mixer referenceMixer(scene);
    referenceMixer.SetDither(dither, 1);
    const std::size_t tracks = scene.sequence.tracks.size();
    if (metered) {
        rig.Mixer().StartMeterSession(tracks, 4800);
        referenceMixer.StartMeterSession(tracks, 4800);
    }
    std::vector<unsigned char> buffer(4 * SECOND);
    std::vector<short> expected(2 * SECOND);
    double own = 0.0;
    double other = 0.0;
    for (auto _ : state) {
        const double seconds = Measure([&] {
            rig.Mixer().GetSamples(real.Project(), real.Sequence(), 0, SECOND, buffer.data(),
                                   static_cast<int>(buffer.size()), 0, 0);
        });
        state.SetIterationTime(seconds);
        own += seconds;
        other +=
            Measure([&] { referenceMixer.GetSequenceSamples(0, SECOND, expected.data(), 0, 0); });
        if (std::memcmp(buffer.data(), expected.data(), buffer.size()) != 0) {
            state.SkipWithError("the two mixes differ");
            break;
        }
    }
    state.counters["times"] = other / own;
    state.counters["us_per_track_block"] =
        1e6 * own / (static_cast<double>(state.iterations()) * 25 * static_cast<double>(tracks));
}

void BM_SixteenTracks(benchmark::State& state, Levels levels, bool metered) {
    MixBesideReference(state, SixteenTracks(levels, 1.0), metered,
                       orlo::sonrel::DitherType::HighPassTriangular);
}
BENCHMARK_CAPTURE(BM_SixteenTracks, static_levels, Levels::Static, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_SixteenTracks, static_levels_metered, Levels::Static, true)->UseManualTime();
BENCHMARK_CAPTURE(BM_SixteenTracks, ramped_levels, Levels::Ramped, false)->UseManualTime();
BENCHMARK_CAPTURE(BM_SixteenTracks, ramped_levels_metered, Levels::Ramped, true)->UseManualTime();

void BM_SixteenTracksAtSpeed(benchmark::State& state) {
    MixBesideReference(state, SixteenTracks(Levels::Static, 0.999), false,
                       orlo::sonrel::DitherType::HighPassTriangular);
}
BENCHMARK(BM_SixteenTracksAtSpeed)->UseManualTime()->Iterations(3);

long long ResidentBytes() {
    long long total = 0;
    long long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// The first request of a mixer, over 60 seconds at 30 frames a second: 1800 float blocks.
void BM_FirstSixtySeconds(benchmark::State& state) {
    ProjectBuilder builder({30.0, 48000, 1800});
    builder.AddObject(builder.AddMedia(Constant(60 * SECOND, 1000, 1000)), 0, 1801);
    std::vector<unsigned char> buffer(4 * 60 * SECOND, 1);
    long long grown = 0;
    for (auto _ : state) {
        MixRig rig;
        const long long before = ResidentBytes();
        state.SetIterationTime(Measure([&] {
            rig.Mixer().GetSamples(builder.Project(), builder.Sequence(), 0, 60 * SECOND,
                                   buffer.data(), static_cast<int>(buffer.size()), 0, 0);
        }));
        grown = std::max(grown, ResidentBytes() - before);
    }
    state.counters["MB_grown"] = static_cast<double>(grown) / (1 << 20);
}
BENCHMARK(BM_FirstSixtySeconds)->UseManualTime();

/// Taking the block of a frame from a warm pool, compared with zeroing the whole block.
void BM_AcquireBlock(benchmark::State& state) {
    orlo::sonrel::detail::MixBlockPool pool;
    std::vector<float> whole(orlo::sonrel::detail::MixBlockPool::BLOCK_FLOATS);
    double own = 0.0;
    double other = 0.0;
    for (auto _ : state) {
        const double seconds = Measure([&] {
            for (int i = 0; i < 100; ++i) {
                pool.Reset();
                benchmark::DoNotOptimize(pool.Acquire(1920).get());
            }
        });
        state.SetIterationTime(seconds / 100);
        own += seconds;
        other += Measure([&] {
            for (int i = 0; i < 100; ++i) {
                std::memset(whole.data(), 0, whole.size() * sizeof(float));
                benchmark::DoNotOptimize(whole.data());
            }
        });
    }
    state.counters["times"] = other / own;
}
BENCHMARK(BM_AcquireBlock)->UseManualTime()->Iterations(50);

bool EqualByFoldingEachCharacter(const std::wstring& a, const std::wstring& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::toupper(a[i], std::locale()) != std::toupper(b[i], std::locale())) return false;
    }
    return true;
}

/// Finding the third of ten open files by its path, compared with folding each character.
void BM_FindOpenFile(benchmark::State& state) {
    ProjectBuilder builder;
    std::vector<std::shared_ptr<project::MediaAsset>> media;
    for (int i = 0; i < 10; ++i) media.push_back(builder.AddMedia(Noise(10, 1)));
    orlo::sonrel::AudioMixerImpl mixer;
    for (const auto& asset : media) {
        orlo::sonrel::detail::FindConformedFile(mixer, *asset->AudioStream());
    }
    const project::MediaAudioStream& wanted = *media[7]->AudioStream();
    double own = 0.0;
    double other = 0.0;
    for (auto _ : state) {
        const double seconds = Measure([&] {
            for (int i = 0; i < 100; ++i) {
                benchmark::DoNotOptimize(orlo::sonrel::detail::FindConformedFile(mixer, wanted));
            }
        });
        state.SetIterationTime(seconds / 100);
        own += seconds;
        other += Measure([&] {
            for (int i = 0; i < 100; ++i) {
                for (const auto& file : mixer.conformedFiles) {
                    const bool found =
                        EqualByFoldingEachCharacter(file.FilePath(), wanted.ConformedFilePath());
                    benchmark::DoNotOptimize(found);
                    if (found) break;
                }
            }
        });
    }
    state.counters["times"] = other / own;
}
BENCHMARK(BM_FindOpenFile)->UseManualTime()->Iterations(50);

}  // namespace

BENCHMARK_MAIN();
