// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/DitherGenerator.h"

#include <cstdint>
#include <random>
#include <vector>

#include "tests/mixer/kernels/FloatBits.h"
#include "tests/support/CpuPaths.h"

namespace orlo::sonrel::detail {
namespace {

class DitherGeneratorTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(DitherGeneratorTest);

std::vector<float> Draws(DitherGenerator& generator, int count) {
    std::vector<float> values(static_cast<std::size_t>(count));
    generator.Draw(values.data(), count);
    return values;
}

TEST_P(DitherGeneratorTest, SeedOneReturnsTheValuesOfTheStandardTwister) {
    DitherGenerator generator(1);

    const std::vector<float> values = Draws(generator, 5);

    // The draws are 1791095845 4282876139 3093770124 4005303368 491263.
    EXPECT_EQ(Bits(values[0]), 0xbda9f060u);
    EXPECT_EQ(Bits(values[1]), 0x3efe8f02u);
    EXPECT_EQ(Bits(values[2]), 0x3e619cc0u);
    EXPECT_EQ(Bits(values[3]), 0x3edd7828u);
    EXPECT_EQ(Bits(values[4]), 0xbefff102u);
}

TEST_P(DitherGeneratorTest, TheTenThousandthDrawOfTheReferenceSeedIsThePublishedOne) {
    DitherGenerator generator(5489);

    const std::vector<float> values = Draws(generator, 10000);

    EXPECT_EQ(values[9999], 4123659995.0f / 4294967296.0f - 0.5f);
}

TEST_P(DitherGeneratorTest, TheLargestDrawIsExactlyOneHalf) {
    DitherGenerator generator(14784396);  // its first draw is 4294967279

    EXPECT_EQ(Draws(generator, 1)[0], 0.5f);
}

TEST_P(DitherGeneratorTest, TheLargestDrawIsExactlyOneHalfInsideAVectorToo) {
    DitherGenerator generator(3);

    EXPECT_EQ(Draws(generator, 1414716)[1414715], 0.5f);
}

TEST_P(DitherGeneratorTest, SkippedDrawsAreThoseThatWouldHaveBeenDrawn) {
    for (const int skipped : {0, 1, 623, 624, 625, 10000}) {
        DitherGenerator drawing(9);
        DitherGenerator skipping(9);
        Draws(drawing, 100);
        Draws(skipping, 100);

        Draws(drawing, skipped);
        skipping.Skip(skipped);

        EXPECT_EQ(Draws(skipping, 700), Draws(drawing, 700)) << skipped;
    }
}

TEST_P(DitherGeneratorTest, AMillionValuesAreThoseOfTheStandardTwister) {
    for (const std::uint32_t seed : {1u, 2u, 5489u, 0x80000000u, 0xffffffffu}) {
        DitherGenerator generator(seed);
        std::mt19937 reference(seed);

        const std::vector<float> values = Draws(generator, 200000);

        for (std::size_t i = 0; i < values.size(); ++i) {
            const float c =
                static_cast<float>(static_cast<std::uint32_t>(reference())) / 4294967296.0f;
            ASSERT_EQ(Bits(values[i]), Bits(1.0f * c + -0.5f)) << "seed " << seed << " draw " << i;
        }
    }
}

TEST_P(DitherGeneratorTest, TheDrawsDoNotDependOnHowManyAreTakenAtOnce) {
    DitherGenerator whole(7);
    const std::vector<float> expected = Draws(whole, 20000);
    DitherGenerator pieces(7);
    std::mt19937 lengths(1);

    std::vector<float> values;
    while (values.size() < expected.size()) {
        const std::size_t left = expected.size() - values.size();
        const std::size_t wanted = std::min<std::size_t>(lengths() % 1300, left);
        const std::vector<float> piece = Draws(pieces, static_cast<int>(wanted));
        values.insert(values.end(), piece.begin(), piece.end());
    }

    EXPECT_EQ(values, expected);
}

TEST_P(DitherGeneratorTest, SeedingRestartsTheDraws) {
    DitherGenerator generator(9);
    const std::vector<float> first = Draws(generator, 1000);

    generator.Seed(9);

    EXPECT_EQ(Draws(generator, 1000), first);
}

TEST_P(DitherGeneratorTest, NothingIsWrittenAfterTheLastValue) {
    for (int count = 0; count < 40; ++count) {
        DitherGenerator generator(1);
        std::vector<float> values(static_cast<std::size_t>(count) + 16, 77.0f);

        generator.Draw(values.data(), count);

        for (std::size_t i = static_cast<std::size_t>(count); i < values.size(); ++i) {
            ASSERT_EQ(values[i], 77.0f) << count;
        }
    }
}

}  // namespace
}  // namespace orlo::sonrel::detail
