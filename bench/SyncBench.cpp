// SPDX-License-Identifier: MIT
// Measures the alignment of recordings:
//   sync_bench                        the transform at many sizes, on every path, its reference and
//                                     FFTW
//   sync_bench --search MINUTES       a minute searched for in a long stereo recording: wall and
//                                     processor time, and the peak memory
//   sync_bench --reference MINUTES    the same search, and the reference implementation of it
#include <sys/resource.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/RatioBench.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/project.h"
#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/detail/Fft.h"
#include "tests/reference/ReferenceAlignment.h"
#include "tests/reference/ReferenceFft.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

#ifdef SONREL_BENCH_FFTW
#include <fftw3.h>
#endif

namespace orlo::sonrel::bench {
namespace {

constexpr int RATE = 48000;
constexpr double MIN_RATIO_TO_REFERENCE = 5.0;

// ---- Transforms --------------------------------------------------------------------------------

/// Points to transform, and a copy for each run.
struct Points {
    explicit Points(unsigned int count) : input(2 * static_cast<std::size_t>(count)) {
        std::mt19937_64 engine(count);
        for (double& value : input) value = static_cast<double>(static_cast<int>(engine())) * 1e-9;
        data = static_cast<double*>(std::aligned_alloc(64, input.size() * sizeof(double)));
    }
    ~Points() { std::free(data); }
    Points(const Points&) = delete;
    Points& operator=(const Points&) = delete;

    void Reset() { std::memcpy(data, input.data(), input.size() * sizeof(double)); }

    std::vector<double> input;
    double* data = nullptr;
};

#ifdef SONREL_BENCH_FFTW
constexpr double MIN_RATIO_TO_FFTW = 1.0 / 1.3;

/// A plan that FFTW has measured; made at its first use, because that takes long.
class MeasuredPlan {
public:
    explicit MeasuredPlan(unsigned int count) : points_(count), count_(static_cast<int>(count)) {}
    ~MeasuredPlan() {
        if (plan_ != nullptr) fftw_destroy_plan(plan_);
    }
    MeasuredPlan(const MeasuredPlan&) = delete;
    MeasuredPlan& operator=(const MeasuredPlan&) = delete;

    void Run() {
        auto* complex = reinterpret_cast<fftw_complex*>(points_.data);
        if (plan_ == nullptr) {
            plan_ = fftw_plan_dft_1d(count_, complex, complex, FFTW_FORWARD, FFTW_MEASURE);
        }
        points_.Reset();
        fftw_execute(plan_);
    }

private:
    Points points_;
    int count_;
    fftw_plan plan_ = nullptr;
};

void AddFftw(const std::string& job, unsigned int count) {
    const auto plan = std::make_shared<MeasuredPlan>(count);
    AddVariant(job, "FFTW", static_cast<int>(count), [plan] { plan->Run(); });
}
#endif

void AddTransform(int level) {
    const unsigned int count = 1U << level;
    const std::string job = "transform of 2^" + std::to_string(level);
    const auto points = std::make_shared<Points>(count);
    AddVariant(job, "reference", static_cast<int>(count), [points, count] {
        points->Reset();
        sonrel_tests::ReferenceFft(points->data, count);
    });
    AddOwnVariants(job, static_cast<int>(count), [points, count] {
        points->Reset();
        detail::FastFourierTransform(points->data, count, 1);
    });
    const std::string best = NameOf(detail::BestCpuPath());
    Demand(job, best, "reference", MIN_RATIO_TO_REFERENCE);
#ifdef SONREL_BENCH_FFTW
    AddFftw(job, count);
    if (level >= 14) Demand(job, best, "FFTW", MIN_RATIO_TO_FFTW);
#endif
}

// ---- The search --------------------------------------------------------------------------------

/// Stereo noise whose loudness changes from second to second.
std::vector<short> MakeSound(long long frames, unsigned int seed) {
    std::mt19937 engine(seed);
    std::vector<short> samples(2 * static_cast<std::size_t>(frames));
    int amplitude = 1;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % RATE == 0) amplitude = 1000 + static_cast<int>(engine() % 9000U);
        samples[i] = static_cast<short>(
            static_cast<int>(engine() % (2U * static_cast<unsigned>(amplitude))) - amplitude);
    }
    return samples;
}

/// Writes the conformed file in pieces, so that the measured memory is that of the search only.
class LongRecording {
public:
    LongRecording(const std::string& path, long long frames) : file_(path, std::ios::binary) {
        const auto bytes = static_cast<std::uint64_t>(frames) * 4;
        file_ << "RIFF" << sonrel_tests::Little(36 + bytes, 4) << "WAVE"
              << sonrel_tests::Chunk("fmt ", sonrel_tests::PcmFormat(1, 2, RATE, 16)) << "data"
              << sonrel_tests::Little(bytes, 4);
    }
    void Write(const std::vector<short>& samples) {
        file_.write(reinterpret_cast<const char*>(samples.data()),
                    static_cast<std::streamsize>(samples.size() * sizeof(short)));
    }

private:
    std::ofstream file_;
};

std::shared_ptr<project::MediaAsset> MakeAsset(
    const std::shared_ptr<project::MediaManager>& manager, const std::wstring& conformed,
    long long frames, const std::wstring& peaks) {
    auto asset = std::make_shared<project::MediaAsset>(manager, conformed);
    auto stream =
        std::make_unique<project::MediaAudioStream>(RATE, frames, zrh::media::ZRAudioCodec::Pcm);
    stream->SetConformedFile(conformed, RATE);
    stream->SetSamplesAvailable(true);
    stream->SetWaveformPeakFilePath(peaks);
    asset->SetAudioStream(std::move(stream));
    return asset;
}

double ProcessorSeconds() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double WallSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

int Search(int minutes, bool besideReference) {
    const sonrel_tests::TemporaryFolder folder;
    const long long longFrames = 60LL * RATE * minutes;
    const long long at = longFrames / 2;
    sonrel_tests::Recording shortOne;
    sonrel_tests::Recording longOne;
    shortOne.rate = shortOne.nativeRate = longOne.rate = longOne.nativeRate = RATE;
    shortOne.samples = MakeSound(60LL * RATE, 1);
    LongRecording((folder / "short.xwmc").string(), 60LL * RATE).Write(shortOne.samples);
    {
        LongRecording longFile((folder / "long.xwmc").string(), longFrames);
        for (int minute = 0; minute < minutes; ++minute) {
            const bool holds = minute == minutes / 2;
            const std::vector<short> piece =
                holds ? shortOne.samples
                      : MakeSound(60LL * RATE, 100 + static_cast<unsigned int>(minute));
            longFile.Write(piece);
            if (besideReference) {
                longOne.samples.insert(longOne.samples.end(), piece.begin(), piece.end());
            }
        }
    }
    sonrel_tests::WriteFile(
        folder / "short.xwpk",
        sonrel_tests::PeakFileBytes(sonrel_tests::SummariseBlocks(shortOne.samples)));
    if (!besideReference) shortOne.samples = {};

    const auto manager = std::make_shared<project::MediaManager>();
    const auto a =
        MakeAsset(manager, folder.Wide("short.xwmc"), 60LL * RATE, folder.Wide("short.xwpk"));
    const auto b = MakeAsset(manager, folder.Wide("long.xwmc"), longFrames, L"");
    const auto engine = Sonrel::Create(L"", L"", nullptr, Sonrel::LogOption::NoErrorLog);
    const double wallBefore = WallSeconds();
    const double processorBefore = ProcessorSeconds();
    const auto found = AudioSync::FindOffset(engine, a, b, RATE, {}, nullptr);
    const double processor = ProcessorSeconds() - processorBefore;
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("60 s in %d min: correlation %.6f, offset %lld (true %lld)\n", minutes,
                found.correlation, found.offset, -(at - at % (60LL * RATE)));
    std::printf("wall %.2f s, processor %.2f s, memory %.0f MB\n", WallSeconds() - wallBefore,
                processor, static_cast<double>(usage.ru_maxrss) / 1024.0);
    if (!besideReference) return 0;
    const double referenceBefore = ProcessorSeconds();
    const auto plain = sonrel_tests::ReferenceFindOffset(shortOne, longOne, RATE);
    const double reference = ProcessorSeconds() - referenceBefore;
    const bool same = plain.correlation == found.correlation && plain.offset == found.offset;
    std::printf("reference: processor %.2f s, %.1f times as much, %s\n", reference,
                reference / processor, same ? "the same bits" : "OTHER BITS");
    return same && reference >= 4.0 * processor ? 0 : 1;
}

}  // namespace
}  // namespace orlo::sonrel::bench

int main(int argc, char** argv) {
    using namespace orlo::sonrel::bench;
    if (argc == 3 && std::strcmp(argv[1], "--search") == 0)
        return Search(std::atoi(argv[2]), false);
    if (argc == 3 && std::strcmp(argv[1], "--reference") == 0)
        return Search(std::atoi(argv[2]), true);
    for (const int level : {10, 12, 14, 16, 18, 20, 22}) AddTransform(level);
    return RunAndReport(argc, argv);
}
