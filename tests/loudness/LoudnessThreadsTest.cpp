// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <thread>

#include "sonrel/loudness/LoudnessMeter.h"
#include "tests/loudness/LoudnessSignals.h"

namespace orlo::sonrel {
namespace {

TEST(LoudnessThreads, MetersOnDifferentThreadsAreIndependent) {
    const sonrel_tests::Frames noise = sonrel_tests::WhiteNoise(50000, 1);
    std::array<std::optional<double>, 4> loudness;
    std::array<std::optional<double>, 4> peaks;
    std::array<std::thread, 4> threads;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([&, i] {
            const LoudnessMeter meter = sonrel_tests::Measured(noise, 8000);
            loudness[i] = meter.IntegratedLufs();
            peaks[i] = meter.TruePeakDb();
        });
    }
    for (std::thread& thread : threads) thread.join();

    const LoudnessMeter expected = sonrel_tests::Measured(noise, 8000);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        EXPECT_EQ(loudness[i], expected.IntegratedLufs());
        EXPECT_EQ(peaks[i], expected.TruePeakDb());
    }
}

}  // namespace
}  // namespace orlo::sonrel
