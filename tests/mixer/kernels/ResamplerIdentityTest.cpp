// SPDX-License-Identifier: MIT
#include <cstddef>
#include <vector>

#include "sonrel/mixer/detail/Resampler.h"
#include "tests/reference/ReferenceResampler.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/ResamplerSignals.h"

namespace orlo::sonrel::detail {
namespace {

// Half a million output frames for each of the most usual speeds and some odd ones, on every
// path. The program resampler_proof among the benchmarks goes through many times as many.
class ResamplerIdentityTest : public testing::TestWithParam<double> {};

INSTANTIATE_TEST_SUITE_P(Speed, ResamplerIdentityTest,
                         testing::Values(0.25, 0.5, 0.8, 0.999, 1.001, 1.0594630943592953, 1.5, 2.0,
                                         3.99999, 4.0));

TEST_P(ResamplerIdentityTest, HalfAMillionFramesFollowTheFormulaOnEveryPath) {
    constexpr int OUTPUT_FRAMES = 16000;
    const double speed = GetParam();
    const auto sourceFrames = static_cast<std::size_t>(OUTPUT_FRAMES * speed) + 100;
    for (const test::Signal signal : test::ALL_SIGNALS) {
        const std::vector<short> source = test::MakeSignal(signal, sourceFrames, 71);
        for (const int rate : {48000, 44100, 96000, 8000}) {
            // One rate without the margin, one with a source that ends before the output does.
            const int offset = rate == 44100 ? 0 : 64;
            const int count = static_cast<int>(rate == 8000 ? sourceFrames / 2 : sourceFrames);
            std::vector<short> expected(2 * OUTPUT_FRAMES);
            reference::ResampleStereo(rate, speed, source.data(), offset, count, expected.data(),
                                      OUTPUT_FRAMES);
            for (const CpuPath path : test::AvailableCpuPaths()) {
                ForceCpuPath(path);
                Resampler resampler;
                std::vector<short> output(2 * OUTPUT_FRAMES);
                resampler.ResampleStereo(rate, speed, source.data(), offset, count, output.data(),
                                         OUTPUT_FRAMES);

                ASSERT_EQ(output, expected) << "rate " << rate;
            }
            ForceCpuPath(std::nullopt);
        }
    }
}

}  // namespace
}  // namespace orlo::sonrel::detail
