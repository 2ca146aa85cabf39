// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "sonrel/sync/detail/Fft.h"
#include "tests/reference/ReferenceFft.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/Noise.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::detail::FastFourierTransform;

TEST(FftIdentity, LargeSizesHaveTheBitsOfTheReferenceOnEveryPath) {
    for (unsigned int points = 1U << 17; points <= 1U << 20; points *= 2) {
        const std::vector<double> input = MakeNoise(
            2 * static_cast<std::size_t>(points), points,
            [](std::uint32_t bits) { return static_cast<double>(static_cast<int>(bits)); });
        std::vector<double> expected = input;
        ReferenceFft(expected.data(), points);
        for (const auto path : orlo::sonrel::test::AvailableCpuPaths()) {
            ASSERT_TRUE(orlo::sonrel::detail::ForceCpuPath(path));
            for (const unsigned int threads : {1U, 3U}) {
                std::vector<double> data = input;

                FastFourierTransform(data.data(), points, threads);

                ASSERT_EQ(std::memcmp(data.data(), expected.data(), data.size() * sizeof(double)),
                          0)
                    << points << " points, threads " << threads;
            }
        }
    }
    orlo::sonrel::detail::ForceCpuPath(std::nullopt);
}

}  // namespace
}  // namespace sonrel_tests
