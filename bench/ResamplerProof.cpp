// SPDX-License-Identifier: MIT

// Compares the resampler with its reference implementation, on every path of this processor, and
// exits 1 at the first difference:
//   resampler_proof [output frames of the formula, in millions; 52]
// The formula takes about 1.2 microseconds a frame.
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <vector>

#include "sonrel/cpu/CpuPath.h"
#include "sonrel/mixer/detail/Resampler.h"
#include "tests/reference/ReferenceResampler.h"
#include "tests/support/ResamplerSignals.h"

namespace {

using orlo::sonrel::detail::CpuPath;
using orlo::sonrel::test::Signal;

constexpr double SPEEDS[] = {0.25, 0.5,   0.999, 1.001,   1.5,       2.0,
                             4.0,  0.125, 0.703, 0.8,     1.00004,   1.05946309435929,
                             1.37, 2.5,   3.1,   3.99999, 0.9999999, 7.77};
constexpr int RATES[] = {48000, 44100, 96000, 8000};
constexpr int OUTPUT_FRAMES = 9600;

struct Case {
    double speed;
    int rate;
    Signal signal;
    int offset;      // 0 or the usual margin
    bool cutSource;  // the source ends before the output does
    unsigned int seed;
};

// Every speed with every rate, signal, margin and length of the source, repeated with new noise up
// to the given number of frames.
std::vector<Case> MakeCases(long long frames) {
    std::vector<Case> cases;
    for (unsigned int seed = 1;; ++seed) {
        for (const Signal signal : orlo::sonrel::test::ALL_SIGNALS) {
            for (const int rate : RATES) {
                for (const double speed : SPEEDS) {
                    for (const int offset : {64, 0}) {
                        for (const bool cut : {false, true}) {
                            cases.push_back({speed, rate, signal, offset, cut, seed});
                            const auto done = static_cast<long long>(cases.size()) * OUTPUT_FRAMES;
                            if (done >= frames) return cases;
                        }
                    }
                }
            }
        }
    }
}

struct Tally {
    long long frames = 0;
    long long values = 0;
    long long differences = 0;
};

class Prover {
public:
    void Compare(const Case& c, Tally& tally) {
        const auto needed = static_cast<std::size_t>(OUTPUT_FRAMES * c.speed) + 192;
        const std::vector<short> source = orlo::sonrel::test::MakeSignal(c.signal, needed, c.seed);
        const int count = static_cast<int>(c.cutSource ? needed / 2 : needed);
        std::vector<short> expected(2 * OUTPUT_FRAMES);
        orlo::sonrel::reference::ResampleStereo(c.rate, c.speed, source.data(), c.offset, count,
                                                expected.data(), OUTPUT_FRAMES);
        tally.frames += OUTPUT_FRAMES;
        for (const CpuPath path : {CpuPath::Baseline, CpuPath::Avx2, CpuPath::Avx512}) {
            if (!orlo::sonrel::detail::ForceCpuPath(path)) continue;
            std::vector<short> output(2 * OUTPUT_FRAMES);
            resampler_.ResampleStereo(c.rate, c.speed, source.data(), c.offset, count,
                                      output.data(), OUTPUT_FRAMES);
            for (std::size_t i = 0; i < output.size(); ++i) {
                tally.differences += output[i] != expected[i];
            }
            tally.values += static_cast<long long>(output.size());
        }
    }

private:
    orlo::sonrel::detail::Resampler resampler_;
};

}  // namespace

int main(int argc, char** argv) {
    const double millions = argc > 1 ? std::atof(argv[1]) : 52.0;
    const std::vector<Case> cases = MakeCases(static_cast<long long>(millions * 1e6));
    Prover prover;
    Tally tally;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        prover.Compare(cases[i], tally);
        if (tally.differences > 0) {
            const Case& c = cases[i];
            std::printf("differs: speed %.17g rate %d signal %d offset %d cut %d seed %u\n",
                        c.speed, c.rate, static_cast<int>(c.signal), c.offset, c.cutSource, c.seed);
            break;
        }
        if (i % 500 == 499) {
            std::fprintf(stderr, "%.1f of %.1f million frames\n",
                         static_cast<double>(tally.frames) * 1e-6, millions);
        }
    }
    std::printf(
        "%lld frames by the formula, %zu speeds, %zu rates, 8 signals; %lld values compared "
        "over all paths, %lld differ\n",
        tally.frames, std::size(SPEEDS), std::size(RATES), tally.values, tally.differences);
    return tally.differences == 0 ? 0 : 1;
}
