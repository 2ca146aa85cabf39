// SPDX-License-Identifier: MIT
#include "sonrel/mixer/SampleConverter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "sonrel/mixer/detail/Quantiser.h"
#include "sonrel/mixer/detail/SampleConverterAccess.h"
#include "tests/reference/ReferenceConverter.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/Noise.h"

namespace orlo::sonrel {
namespace {

class SampleConverterTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(SampleConverterTest);

constexpr short GUARD = 0x5a5a;
constexpr DitherType ALL_TYPES[] = {DitherType::None, DitherType::Triangular,
                                    DitherType::HighPassTriangular};

std::vector<short> Convert(SampleConverter& converter, const std::vector<float>& input) {
    std::vector<short> output(input.size() + 2, GUARD);
    converter.FloatToInt16(input.data(), output.data(), static_cast<int>(input.size() / 2));
    EXPECT_EQ(output[input.size()], GUARD);
    EXPECT_EQ(output[input.size() + 1], GUARD);
    output.resize(input.size());
    return output;
}

// One value without dither, in a separate frame and inside many equal frames.
short ConvertPlain(float value) {
    SampleConverter converter(DitherType::None, 1);
    const std::vector<short> alone = Convert(converter, {value, value});
    const std::vector<short> many = Convert(converter, std::vector<float>(66, value));
    EXPECT_EQ(alone[0], alone[1]);
    for (const short sample : many) EXPECT_EQ(sample, alone[0]);
    return alone[0];
}

// left[i] = (1.3 + i) / 32768, right the negative of it.
std::vector<float> SmallSteps() {
    std::vector<float> input;
    for (int i = 0; i < 8; ++i) {
        const float value = (1.3f + static_cast<float>(i)) / 32768.0f;
        input.push_back(value);
        input.push_back(-value);
    }
    return input;
}

std::vector<float> Noise(std::size_t frames, float amplitude, unsigned int seed) {
    return sonrel_tests::MakeNoise(2 * frames, seed, [amplitude](std::uint32_t bits) {
        return amplitude * (static_cast<float>(bits >> 8) * 0x1p-23f - 1.0f);
    });
}

TEST_P(SampleConverterTest, PlusFullScaleIs32767AndMinusFullScaleIsMinus32768) {
    EXPECT_EQ(ConvertPlain(1.0f), 32767);
    EXPECT_EQ(ConvertPlain(-1.0f), -32768);
}

TEST_P(SampleConverterTest, AValueIsCutTowardZeroAndNotRounded) {
    EXPECT_EQ(ConvertPlain(1.7f / 32768.0f), 1);
    EXPECT_EQ(ConvertPlain(-1.7f / 32768.0f), -1);
    EXPECT_EQ(ConvertPlain(0.99999f / 32768.0f), 0);
    EXPECT_EQ(ConvertPlain(-0.99999f / 32768.0f), 0);
}

TEST_P(SampleConverterTest, AValueThatRoundsIntoTheRangeIsCutAndAValueThatRoundsOutOfItIsClipped) {
    EXPECT_EQ(ConvertPlain(32767.4f / 32768.0f), 32767);
    EXPECT_EQ(ConvertPlain(32767.5f / 32768.0f), 32767);
    EXPECT_EQ(ConvertPlain(32767.6f / 32768.0f), 32767);
    EXPECT_EQ(ConvertPlain(-32768.4f / 32768.0f), -32768);
    EXPECT_EQ(ConvertPlain(-32768.6f / 32768.0f), -32768);
}

TEST_P(SampleConverterTest, ValuesBeyondThirtyTwoBitsBecomeTheLowestSampleInEitherDirection) {
    EXPECT_EQ(ConvertPlain(std::nextafter(65536.0f, 0.0f)), 32767);
    EXPECT_EQ(ConvertPlain(65536.0f), -32768);
    EXPECT_EQ(ConvertPlain(-65536.0f), -32768);
    EXPECT_EQ(ConvertPlain(1e30f), -32768);
    EXPECT_EQ(ConvertPlain(std::numeric_limits<float>::infinity()), -32768);
    EXPECT_EQ(ConvertPlain(-std::numeric_limits<float>::infinity()), -32768);
    EXPECT_EQ(ConvertPlain(std::numeric_limits<float>::quiet_NaN()), -32768);
}

TEST_P(SampleConverterTest, HighPassNoiseOfSeedOneReturnsTheseSamples) {
    SampleConverter converter(DitherType::HighPassTriangular, 1);

    EXPECT_EQ(Convert(converter, SmallSteps()),
              (std::vector<short>{1, -1, 2, -1, 3, -3, 4, -4, 4, -6, 6, -6, 7, -7, 8, -7}));
}

TEST_P(SampleConverterTest, HighPassNoiseOfSeed5489ReturnsTheseSamples) {
    SampleConverter converter(DitherType::HighPassTriangular, 5489);

    EXPECT_EQ(Convert(converter, SmallSteps()),
              (std::vector<short>{1, 0, 1, -2, 4, -2, 4, -4, 4, -6, 7, -5, 7, -7, 7, -8}));
}

TEST_P(SampleConverterTest, TriangularNoiseOfSeedOneReturnsTheseSamples) {
    SampleConverter converter(DitherType::Triangular, 1);

    EXPECT_EQ(Convert(converter, SmallSteps()),
              (std::vector<short>{1, 0, 2, -1, 2, -4, 4, -3, 4, -5, 5, -6, 6, -7, 8, -8}));
}

TEST_P(SampleConverterTest, TriangularNoiseOfSeed5489ReturnsTheseSamples) {
    SampleConverter converter(DitherType::Triangular, 5489);

    EXPECT_EQ(Convert(converter, SmallSteps()),
              (std::vector<short>{1, -1, 3, -1, 3, -3, 4, -4, 5, -5, 5, -6, 6, -7, 8, -7}));
}

TEST_P(SampleConverterTest, ANoiseOfExactlyOneHalfIsDrawn) {
    // The first draw of this seed is 4294967279, which becomes 0.5: (0.5 + 0.5) - 0 is 1. With the
    // largest value that the standard library's distribution returns, 0.49999994, it is cut to 0.
    SampleConverter converter(DitherType::HighPassTriangular, 14784396);
    const float half = 0.5f / 32768.0f;

    EXPECT_EQ(Convert(converter, {half, half}), (std::vector<short>{1, 1}));
}

TEST_P(SampleConverterTest, AFrameCountBelowOneWritesNothingAndDrawsNothing) {
    for (const DitherType type : ALL_TYPES) {
        SampleConverter converter(type, 77);
        SampleConverter reference(type, 77);
        const float input[] = {0.25f, 0.25f};
        short output[] = {GUARD, GUARD};

        for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
            converter.FloatToInt16(input, output, count);
        }

        EXPECT_EQ(output[0], GUARD);
        EXPECT_EQ(output[1], GUARD);
        const std::vector<float> noise = Noise(100, 0.001f, 5);
        EXPECT_EQ(Convert(converter, noise), Convert(reference, noise));
    }
}

TEST_P(SampleConverterTest, EqualSeedsGiveEqualOutput) {
    const std::vector<float> input = Noise(2000, 0.0002f, 6);
    for (const DitherType type : ALL_TYPES) {
        SampleConverter first(type, 123456789);
        SampleConverter second(type, 123456789);

        EXPECT_EQ(Convert(first, input), Convert(second, input));
    }
}

TEST_P(SampleConverterTest, DifferentSeedsGiveDifferentNoise) {
    const std::vector<float> input = Noise(2000, 0.0002f, 6);
    SampleConverter first(DitherType::HighPassTriangular, 1);
    SampleConverter second(DitherType::HighPassTriangular, 2);

    EXPECT_NE(Convert(first, input), Convert(second, input));
}

TEST_P(SampleConverterTest, ResetRestoresTheNoiseOfTheVeryFirstFrame) {
    const std::vector<float> input = Noise(1000, 0.0002f, 7);
    for (const DitherType type : ALL_TYPES) {
        SampleConverter converter(type, 42);
        const std::vector<short> first = Convert(converter, input);

        converter.Reset(type, 42);

        EXPECT_EQ(Convert(converter, input), first);
    }
}

TEST_P(SampleConverterTest, ResetForgetsTheNoiseOfTheFrameBefore) {
    // Seed 1 draws -0.08 first. With the previous noise forgotten, (-0.08 + 1.05) - 0 is cut to 0;
    // any previous noise below -0.03 would lift it to 1.
    const float input[] = {1.05f / 32768.0f, 1.05f / 32768.0f};
    short output[2] = {GUARD, GUARD};
    SampleConverter converter(DitherType::HighPassTriangular, 1);
    converter.FloatToInt16(input, output, 1);  // leaves -0.08 as the previous noise

    converter.Reset(DitherType::HighPassTriangular, 1);
    converter.FloatToInt16(input, output, 1);

    EXPECT_EQ(output[0], 0);
}

TEST_P(SampleConverterTest, ResetTakesTheTypeToo) {
    SampleConverter converter(DitherType::None, 1);

    converter.Reset(DitherType::Triangular, 1);

    EXPECT_EQ(Convert(converter, SmallSteps())[1], 0);  // -1.3 + 0.41; without noise it is -1
}

// Draws are counted by the output of a converter after them: Reset would draw from the start.
TEST_P(SampleConverterTest, HighPassDrawsOnceAFrame) {
    constexpr int FRAMES = 1000;
    SampleConverter converter(DitherType::HighPassTriangular, 11);
    Convert(converter, std::vector<float>(2 * FRAMES, 0.0f));
    std::mt19937 reference(11);
    reference.discard(FRAMES - 1);
    const auto draw = [&reference] {
        return static_cast<float>(static_cast<std::uint32_t>(reference())) / 4294967296.0f - 0.5f;
    };
    const float previous = draw();
    const float noise = draw();

    const std::vector<short> samples = Convert(converter, {0.01f, -0.01f});

    EXPECT_EQ(samples[0], static_cast<short>((noise + 0.01f * 32768.0f) - previous));
    EXPECT_EQ(samples[1], static_cast<short>((noise + -0.01f * 32768.0f) - previous));
}

TEST_P(SampleConverterTest, TriangularDrawsTwiceAFrame) {
    constexpr int FRAMES = 1000;
    std::mt19937 reference(11);
    reference.discard(2 * FRAMES);
    SampleConverter converter(DitherType::Triangular, 11);
    Convert(converter, std::vector<float>(2 * FRAMES, 0.0f));
    const auto draw = [&reference] {
        return static_cast<float>(static_cast<std::uint32_t>(reference())) / 4294967296.0f - 0.5f;
    };

    for (int i = 0; i < 200; ++i) {
        const float first = draw();
        const float second = draw();
        const float x = 0.37f * static_cast<float>(i);
        const std::vector<short> samples = Convert(converter, {x / 32768.0f, -x / 32768.0f});

        ASSERT_EQ(samples[0], static_cast<short>(x / 32768.0f * 32768.0f + (first + second)));
        ASSERT_EQ(samples[1], static_cast<short>(-x / 32768.0f * 32768.0f + (first + second)));
    }
}

TEST_P(SampleConverterTest, WithoutDitherALongStretchLeavesNoTraceInTheNext) {
    const std::vector<float> input = Noise(50, 0.5f, 12);
    SampleConverter used(DitherType::None, 3);
    SampleConverter fresh(DitherType::None, 3);
    Convert(used, Noise(5000, 1.0f, 13));

    EXPECT_EQ(Convert(used, input), Convert(fresh, input));
}

TEST_P(SampleConverterTest, SkippedFramesAdvanceTheNoiseAsConvertedFramesDo) {
    const std::vector<float> input = Noise(50, 0.5f, 15);
    for (const DitherType type : ALL_TYPES) {
        for (const int frames : {-1, 0, 1, 312, 624, 5000}) {
            SampleConverter converting(type, 3);
            SampleConverter skipping(type, 3);
            Convert(converting, Noise(static_cast<std::size_t>(std::max(frames, 0)), 1.0f, 16));

            skipping.Skip(frames);

            EXPECT_EQ(Convert(skipping, input), Convert(converting, input)) << frames;
        }
    }
}

TEST_P(SampleConverterTest, ContinuesTheNoiseOfAnotherConverter) {
    const std::vector<float> input = Noise(50, 0.5f, 17);
    SampleConverter first(DitherType::HighPassTriangular, 3);
    Convert(first, Noise(1000, 1.0f, 18));
    SampleConverter second(DitherType::None, 1);

    second.Continue(first);

    EXPECT_EQ(Convert(second, input), Convert(first, input));
}

TEST_P(SampleConverterTest, DitheredSilenceIsDigitalZeroAndTheNoiseContinues) {
    for (const DitherType type : {DitherType::Triangular, DitherType::HighPassTriangular}) {
        SampleConverter converter(type, 1);

        const std::vector<short> silence = Convert(converter, std::vector<float>(200000, 0.0f));

        EXPECT_EQ(std::count(silence.begin(), silence.end(), 0), 200000);
        SampleConverter fresh(type, 1);
        const std::vector<float> sound = Noise(500, 0.0002f, 14);
        EXPECT_NE(Convert(converter, sound), Convert(fresh, sound));
    }
}

TEST_P(SampleConverterTest, HalfAStepComesOutAsNonZeroInAboutOneEighthOfTheFrames) {
    for (const DitherType type : {DitherType::Triangular, DitherType::HighPassTriangular}) {
        SampleConverter converter(type, 1);

        const std::vector<short> samples =
            Convert(converter, std::vector<float>(400000, 0.5f / 32768.0f));

        const auto nonZero = 400000 - std::count(samples.begin(), samples.end(), 0);
        EXPECT_NEAR(static_cast<double>(nonZero), 50000.0, 1000.0);
    }
}

TEST_P(SampleConverterTest, BothChannelsOfAFrameGetTheSameNoise) {
    std::vector<float> input = Noise(3000, 0.01f, 15);
    for (std::size_t i = 0; i < input.size(); i += 2) input[i + 1] = input[i];
    for (const DitherType type : ALL_TYPES) {
        SampleConverter converter(type, 4);

        const std::vector<short> samples = Convert(converter, input);

        for (std::size_t i = 0; i < samples.size(); i += 2) ASSERT_EQ(samples[i], samples[i + 1]);
    }
}

TEST_P(SampleConverterTest, AnUnknownTypeReturnsSilence) {
    SampleConverter converter(static_cast<DitherType>(3), 1);

    EXPECT_EQ(Convert(converter, Noise(1000, 1.0f, 16)), std::vector<short>(2000, 0));
}

TEST_P(SampleConverterTest, TheNoiseDoesNotDependOnTheSizesOfTheCalls) {
    const std::vector<float> input = Noise(30000, 0.0005f, 17);
    std::mt19937 sizes(2);
    for (const DitherType type : ALL_TYPES) {
        SampleConverter whole(type, 8);
        const std::vector<short> expected = Convert(whole, input);
        SampleConverter pieces(type, 8);

        std::vector<short> samples(input.size());
        for (std::size_t done = 0; done < input.size();) {
            const std::size_t frames =
                std::min<std::size_t>(sizes() % 1500, (input.size() - done) / 2);
            pieces.FloatToInt16(input.data() + done, samples.data() + done,
                                static_cast<int>(frames));
            done += 2 * frames;
        }

        ASSERT_EQ(samples, expected);
    }
}

// Finite sound, overload, values that fit no integer, infinities, NaNs and denormals.
std::vector<float> EveryKindOfValue(std::size_t frames, unsigned int seed) {
    std::mt19937 random(seed);
    std::vector<float> values(2 * frames);
    for (float& value : values) {
        const std::uint32_t bits = static_cast<std::uint32_t>(random());
        switch (random() % 4) {
            case 0:
                std::memcpy(&value, &bits, sizeof value);
                break;
            case 1:
                value = static_cast<float>(static_cast<std::int32_t>(bits)) * 0x1p-47f;
                break;
            default:
                value = static_cast<float>(static_cast<std::int32_t>(bits)) * 0x1p-30f;
        }
    }
    return values;
}

TEST_P(SampleConverterTest, AMillionFramesOfEveryKindAreThoseOfTheRulesWrittenDown) {
    for (const DitherType type : ALL_TYPES) {
        SampleConverter converter(type, 99);
        reference::SampleConverter reference(type, 99);
        for (unsigned int round = 0; round < 33; ++round) {
            const std::vector<float> input = EveryKindOfValue(10007, round);
            std::vector<short> expected(input.size());
            reference.FloatToInt16(input.data(), expected.data(), 10007);

            ASSERT_EQ(Convert(converter, input), expected) << "round " << round;
        }
    }
}

TEST_P(SampleConverterTest, EveryShortLengthIsConvertedWhole) {
    for (const DitherType type : ALL_TYPES) {
        for (std::size_t frames = 1; frames < 70; ++frames) {
            SampleConverter converter(type, 5);
            reference::SampleConverter reference(type, 5);
            const std::vector<float> input = EveryKindOfValue(frames, 3);
            std::vector<short> expected(input.size());
            reference.FloatToInt16(input.data(), expected.data(), static_cast<int>(frames));

            ASSERT_EQ(Convert(converter, input), expected) << frames;
        }
    }
}

TEST_P(SampleConverterTest, SamplesAtAGainAreThoseOfTheirValues) {
    std::mt19937 random(17);
    for (const DitherType type : ALL_TYPES) {
        SampleConverter converter(type, 7);
        reference::SampleConverter reference(type, 7);
        for (int round = 0; round < 300; ++round) {
            const auto frames = static_cast<int>(1 + random() % 1700U);
            const std::vector<short> samples = sonrel_tests::MakeNoise(
                2 * static_cast<std::size_t>(frames), random(),
                [](std::uint32_t bits) { return static_cast<short>(bits >> 16); });
            // From silence to far above full scale, and infinite.
            const float gain =
                std::ldexp(1.0f + static_cast<float>(random() % 1000U) * 0.001f,
                           round % 50 == 0 ? 200 : static_cast<int>(random() % 60U) - 40);
            std::vector<float> input;
            for (const short sample : samples) input.push_back(0.0f + sample * gain);
            std::vector<short> expected(input.size());
            reference.FloatToInt16(input.data(), expected.data(), frames);
            std::vector<short> output(input.size() + 1, GUARD);

            detail::SampleConverterAccess::Convert(converter, {samples.data(), gain}, output.data(),
                                                   frames);

            ASSERT_EQ(output.back(), GUARD);
            output.pop_back();
            ASSERT_EQ(output, expected) << frames << " frames, gain " << gain;
        }
    }
}

TEST(SampleConverterSeed, SeedZeroTakesTheNoiseFromTheClock) {
    const std::vector<float> input = Noise(2000, 0.0002f, 6);
    SampleConverter first(DitherType::HighPassTriangular, 0);
    SampleConverter second(DitherType::HighPassTriangular, 0);

    EXPECT_NE(Convert(first, input), Convert(second, input));
}

}  // namespace
}  // namespace orlo::sonrel
