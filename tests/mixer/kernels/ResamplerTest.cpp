// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/Resampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "sonrel/mixer/detail/ResamplerKernels.h"
#include "tests/reference/ReferenceResampler.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/ResamplerSignals.h"

namespace orlo::sonrel::detail {
namespace {

class ResamplerTest : public test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(ResamplerTest);

using Frames = std::vector<std::pair<int, int>>;

constexpr short GUARD = 0x5a5a;

// One resampler for all tests: making the tables of a rate takes longer than most of them.
Resampler& SharedResampler() {
    static Resampler resampler;
    return resampler;
}

std::vector<short> Resample(int rate, double speed, const std::vector<short>& source, int offset,
                            int outputCount) {
    std::vector<short> output(2 * static_cast<std::size_t>(outputCount) + 2, GUARD);
    SharedResampler().ResampleStereo(rate, speed, source.data(), offset,
                                     static_cast<int>(source.size() / 2), output.data(),
                                     outputCount);
    EXPECT_EQ(output[output.size() - 2], GUARD);
    EXPECT_EQ(output[output.size() - 1], GUARD);
    output.resize(output.size() - 2);
    return output;
}

Frames AsFrames(const std::vector<short>& samples) {
    Frames frames;
    for (std::size_t i = 0; i < samples.size(); i += 2) {
        frames.emplace_back(samples[i], samples[i + 1]);
    }
    return frames;
}

std::vector<int> LeftOf(const std::vector<short>& samples) {
    std::vector<int> left;
    for (std::size_t i = 0; i < samples.size(); i += 2) left.push_back(samples[i]);
    return left;
}

// Left a sine of amplitude 20000, right a sawtooth of 50 frames.
std::vector<short> SineAndSawtooth() {
    std::vector<short> source;
    for (int i = 0; i < 400; ++i) {
        source.push_back(static_cast<short>(20000.0 * std::sin(0.1 * i)));
        source.push_back(static_cast<short>((i % 50) * 600 - 15000));
    }
    return source;
}

std::vector<short> WithValueAt(std::size_t frames, std::size_t at, short value) {
    std::vector<short> source(2 * frames, 0);
    source[2 * at] = value;
    source[2 * at + 1] = value;
    return source;
}

void ExpectFormula(int rate, double speed, const std::vector<short>& source, int offset,
                   int outputCount) {
    std::vector<short> expected(2 * static_cast<std::size_t>(outputCount));
    reference::ResampleStereo(rate, speed, source.data(), offset,
                              static_cast<int>(source.size() / 2), expected.data(), outputCount);

    const std::vector<short> output = Resample(rate, speed, source, offset, outputCount);

    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(output[i], expected[i])
            << "rate " << rate << " speed " << speed << " offset " << offset << " frame " << i / 2;
    }
}

TEST_P(ResamplerTest, HalfSpeedReturnsTheseFrames) {
    EXPECT_EQ(AsFrames(Resample(48000, 0.5, SineAndSawtooth(), 64, 4)),
              (Frames{{2330, -6599}, {3321, -6413}, {4302, -6000}, {5274, -5608}}));
}

TEST_P(ResamplerTest, ASpeedJustBelowOneReturnsTheseFrames) {
    EXPECT_EQ(AsFrames(Resample(48000, 0.999, SineAndSawtooth(), 64, 4)),
              (Frames{{2330, -6599}, {4300, -6001}, {6226, -5400}, {8090, -4802}}));
}

TEST_P(ResamplerTest, ASpeedJustAboveOneReturnsTheseFrames) {
    EXPECT_EQ(AsFrames(Resample(48000, 1.001, SineAndSawtooth(), 64, 4)),
              (Frames{{2330, -6599}, {4303, -5999}, {6233, -5399}, {8101, -4797}}));
}

TEST_P(ResamplerTest, OneAndAHalfTimesTheSpeedReturnsTheseFrames) {
    EXPECT_EQ(AsFrames(Resample(48000, 1.5, SineAndSawtooth(), 64, 4)),
              (Frames{{2330, -6599}, {5274, -5608}, {8096, -4800}, {10739, -3936}}));
}

TEST_P(ResamplerTest, DoubleSpeedReturnsTheseFrames) {
    EXPECT_EQ(AsFrames(Resample(48000, 2.0, SineAndSawtooth(), 64, 4)),
              (Frames{{2330, -6599}, {6230, -5399}, {9882, -4199}, {13139, -2999}}));
}

TEST_P(ResamplerTest, ASampleMetExactlyIsScaledByTheCutoffAndCut) {
    // The weight at distance 0 is 2 * (24000 - 1) / 48000 = 0.99995833.
    const std::vector<short> output = Resample(48000, 2.0, WithValueAt(200, 100, 10000), 100, 1);

    EXPECT_EQ(output[0], 9999);
}

TEST_P(ResamplerTest, WithoutAMarginTheFirstSampleCountsTwiceBetweenFrames) {
    const std::vector<short> output = Resample(48000, 0.5, WithValueAt(100, 0, 10000), 0, 6);

    // Counted once, frame 1 would be 6360.
    EXPECT_EQ(LeftOf(output), (std::vector<int>{9999, 12720, 0, -4207, 0, 2486}));
}

TEST_P(ResamplerTest, SumsBeyondSixteenBitsWrap) {
    std::vector<short> source(400, 32767);
    for (std::size_t i = 0; i < 200; ++i) source[i] = -32768;

    const std::vector<short> output = Resample(48000, 0.5, source, 64, 80);

    const std::vector<int> left = LeftOf(output);
    EXPECT_EQ(std::vector<int>(left.begin() + 66, left.end()),
              (std::vector<int>{-32766, -27888, 32767, 23860, -32766, 4, 32765, -23851, -32768,
                                27897, 32765, -29491, -32768, 30357}));
}

TEST_P(ResamplerTest, FramesAfterTheSourceAreSilent) {
    const std::vector<short> output =
        Resample(48000, 1.25, test::MakeSignal(test::Signal::Noise, 100, 1), 64, 200);

    // From position 126 on, no tap reaches frame 99.
    for (std::size_t i = 2 * 50; i < output.size(); ++i) EXPECT_EQ(output[i], 0) << i;
}

TEST_P(ResamplerTest, SilenceStaysSilence) {
    EXPECT_EQ(Resample(48000, 1.001, std::vector<short>(2000, 0), 64, 800),
              std::vector<short>(1600, 0));
}

TEST_P(ResamplerTest, AnEmptySourceReturnsSilence) {
    std::vector<short> output(200, GUARD);

    SharedResampler().ResampleStereo(48000, 1.5, nullptr, 0, 0, output.data(), 100);

    EXPECT_EQ(output, std::vector<short>(200, 0));
}

TEST_P(ResamplerTest, AnOutputCountBelowOneWritesNothing) {
    const std::vector<short> source(200, 1000);
    short output[2] = {GUARD, GUARD};

    SharedResampler().ResampleStereo(48000, 1.5, source.data(), 0, 100, output, 0);
    SharedResampler().ResampleStereo(48000, 1.5, source.data(), 0, 100, output, -7);

    EXPECT_EQ(output[0], GUARD);
    EXPECT_EQ(output[1], GUARD);
}

TEST_P(ResamplerTest, EverySignalAtEveryKindOfSpeedFollowsTheFormula) {
    for (const test::Signal signal : test::ALL_SIGNALS) {
        const std::vector<short> source = test::MakeSignal(signal, 400, 3);
        for (const double speed : {0.015625, 0.25, 0.5, 0.75, 0.999, 1.0, 1.0000000001, 1.001, 1.37,
                                   1.5, 2.0, 3.99999, 4.0}) {
            const int count = static_cast<int>(300.0 / std::max(speed, 1.0));
            ExpectFormula(48000, speed, source, 64, count);
        }
    }
}

TEST_P(ResamplerTest, EveryRateFollowsTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 400, 4);
    for (const int rate : {-48000, -1, 0, 1, 2, 3, 8, 999, 8000, 44100, 96000, 192000,
                           std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        ExpectFormula(rate, 1.001, source, 64, 150);
        ExpectFormula(rate, 0.5, source, 64, 150);
        ExpectFormula(rate, 0.7, source, 0, 150);
    }
}

TEST_P(ResamplerTest, EveryOffsetAroundTheSourceFollowsTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 60, 5);
    for (int offset = -40; offset < 100; ++offset) {
        ExpectFormula(48000, 0.51, source, offset, 24);
        ExpectFormula(48000, 0.5, source, offset, 24);
    }
}

TEST_P(ResamplerTest, ReverseSpeedsFollowTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 600, 6);
    for (const double speed : {-0.25, -0.999, -1.5, -7.3}) {
        ExpectFormula(48000, speed, source, 590, 400);
    }
}

TEST_P(ResamplerTest, SpeedsThatLeaveTheSourceAtOnceFollowTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 3000, 7);
    for (const double speed :
         {16.0, 99.7, 1024.25, 5000.0, 1e6, 3e7, 1e9, 1e300, -1e9, 1e-9, 0.0, 1e-320}) {
        ExpectFormula(48000, speed, source, 64, 200);
    }
}

TEST_P(ResamplerTest, SpeedsOfNaNFollowTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 300, 8);
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double speed : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        ExpectFormula(48000, speed, source, 64, 50);
    }
}

TEST_P(ResamplerTest, OffsetsAtTheEndsOfTheIntegersFollowTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 300, 9);
    for (const int offset :
         {std::numeric_limits<int>::min(), std::numeric_limits<int>::min() + 50,
          std::numeric_limits<int>::max() - 50, std::numeric_limits<int>::max()}) {
        ExpectFormula(48000, 1.3, source, offset, 100);
    }
}

TEST_P(ResamplerTest, PositionsJustBelowAWholeNumberFollowTheFormula) {
    // 23 + position rounds up to a whole number that position itself doesn't reach.
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 200, 10);
    for (const int whole : {42, 63, 64, 105, 128}) {
        const double below = std::nextafter(static_cast<double>(whole), 0.0);
        ExpectFormula(48000, below - 40.0, source, 40, 3);
    }
}

TEST_P(ResamplerTest, SpeedsWithinABillionthOfOneFollowTheFormula) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 3000, 11);
    for (const double distance : {1e-9, 1e-10, 1e-12, 1e-15}) {
        ExpectFormula(48000, 1.0 + distance, source, 64, 2500);
        ExpectFormula(48000, 1.0 - distance, source, 64, 2500);
    }
}

TEST_P(ResamplerTest, OneResamplerServesManyRates) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 300, 12);
    Resampler resampler;
    for (int round = 0; round < 2; ++round) {
        for (const int rate : {8000, 11025, 16000, 22050, 32000, 44100, 48000, 96000}) {
            std::vector<short> expected(200);
            reference::ResampleStereo(rate, 1.1, source.data(), 64, 300, expected.data(), 100);
            std::vector<short> output(200);
            resampler.ResampleStereo(rate, 1.1, source.data(), 64, 300, output.data(), 100);

            ASSERT_EQ(output, expected) << rate;
        }
    }
}

TEST_P(ResamplerTest, SumsNearAWholeNumberOtherThanZeroAreUndecided) {
    constexpr double SUMS[] = {0.5,  1.0 + 1e-6, -3.0 - 1e-6, 1e-6,  7.0 - 1e-6,      -7.999,
                               -1.0, 32767.9,    2.0 + 1e-3,  -1e-6, -20000.0 + 1e-6, 12.4};
    constexpr int UNDECIDED[] = {0, 1, 1, 0, 1, 0, 1, 0, 0, 0, 1, 0};
    constexpr int CUT[] = {0, 1, -3, 0, 6, -7, -1, 32767, 2, 0, -19999, 12};
    auto batch = std::make_unique<TapBatch>();
    batch->count = 6;
    std::copy(std::begin(SUMS), std::end(SUMS), batch->sums);
    std::fill(std::begin(batch->undecided), std::end(batch->undecided), 0);
    short output[12] = {};

    EXPECT_TRUE(RESAMPLER_KERNELS.Active().storeSums(2e-5, output, *batch));

    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(batch->undecided[i] != 0, UNDECIDED[i] != 0) << SUMS[i];
        EXPECT_EQ(output[i], CUT[i]) << SUMS[i];
    }
    std::fill(std::begin(batch->sums), std::end(batch->sums), 0.5);
    std::fill(std::begin(batch->undecided), std::end(batch->undecided), 0);
    EXPECT_FALSE(RESAMPLER_KERNELS.Active().storeSums(2e-5, output, *batch));
}

TEST(Resampler, ThreadsMayShareOne) {
    const std::vector<short> source = test::MakeSignal(test::Signal::Noise, 2000, 13);
    std::vector<short> expected(2 * 1500);
    reference::ResampleStereo(48000, 1.1, source.data(), 64, 2000, expected.data(), 1500);
    Resampler resampler;
    std::vector<std::vector<short>> outputs(4, std::vector<short>(2 * 1500));

    std::vector<std::thread> threads;
    for (std::vector<short>& output : outputs) {
        threads.emplace_back([&resampler, &source, &output] {
            for (int round = 0; round < 3; ++round) {
                for (const int rate : {8000, 16000, 22050, 44100, 48000}) {
                    resampler.ResampleStereo(rate, 1.1, source.data(), 64, 2000, output.data(),
                                             1500);
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    for (const std::vector<short>& output : outputs) EXPECT_EQ(output, expected);
}

}  // namespace
}  // namespace orlo::sonrel::detail
