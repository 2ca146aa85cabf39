// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/Correlation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "sonrel/sync/AudioSync.h"
#include "sonrel/sync/detail/CorrelationKernels.h"
#include "tests/reference/ReferenceAlignment.h"
#include "tests/support/CpuPaths.h"
#include "tests/support/Noise.h"

namespace sonrel_tests {
namespace {

using namespace orlo::sonrel::detail;  // NOLINT: everything here is about it
using orlo::sonrel::AudioSync;

class CrossCorrelation : public orlo::sonrel::test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(CrossCorrelation);

std::vector<float> Sawtooth(int count) {
    std::vector<float> signal;
    for (int i = 0; i < count; ++i) {
        signal.push_back(static_cast<float>(7919 * i % 2001 - 1000) / 1000.0f);
    }
    return signal;
}

std::vector<float> FloatNoise(int count, unsigned int seed) {
    return MakeNoise(static_cast<std::size_t>(count), seed, [](std::uint32_t bits) {
        return static_cast<float>(static_cast<short>(bits)) * SAMPLE_SCALE;
    });
}

std::vector<float> Delayed(const std::vector<float>& signal, int frames) {
    std::vector<float> delayed(static_cast<std::size_t>(frames), 0.0f);
    delayed.insert(delayed.end(), signal.begin(), signal.end() - frames);
    return delayed;
}

AudioSync::CorrelationResult Correlate(const std::vector<float>& a, const std::vector<float>& b) {
    return AudioSync::CrossCorrelate(a.data(), 1, b.data(), 1, static_cast<int>(a.size()));
}

// ---- Two signals

TEST_P(CrossCorrelation, FewerThanOneValueHaveNoResult) {
    const float signal[] = {1.0f};
    for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
        const auto result = AudioSync::CrossCorrelate(signal, 1, signal, 1, count);
        EXPECT_EQ(result.correlation, 0.0);
        EXPECT_EQ(result.offset, 0);
    }
}

TEST_P(CrossCorrelation, OneNegativeValueMatchesItself) {
    const float signal[] = {-0.5f};

    const auto result = AudioSync::CrossCorrelate(signal, 1, signal, 1, 1);

    EXPECT_EQ(result.correlation, 1.0);
    EXPECT_EQ(result.offset, 0);
}

TEST_P(CrossCorrelation, EqualSignalsHaveThisCorrelation) {
    const std::vector<float> signal = Sawtooth(1000);

    const auto result = Correlate(signal, signal);

    EXPECT_EQ(result.correlation, 0.9999997819960742);
    EXPECT_EQ(result.offset, 0);
}

TEST_P(CrossCorrelation, ASecondSignalThatComesLaterGivesANegativeLag) {
    const std::vector<float> signal = Sawtooth(3000);

    const auto result = Correlate(signal, Delayed(signal, 100));

    EXPECT_EQ(result.correlation, 0.98362021378007924);
    EXPECT_EQ(result.offset, -100);
}

TEST_P(CrossCorrelation, AFirstSignalThatComesLaterGivesAPositiveLag) {
    const std::vector<float> signal = FloatNoise(3000, 7);

    EXPECT_EQ(Correlate(Delayed(signal, 100), signal).offset, 100);
}

TEST_P(CrossCorrelation, TheLargestLagsOfBothSignsAreFound) {
    std::vector<float> early(100, 0.0f);
    std::vector<float> late(100, 0.0f);
    early.front() = 1.0f;
    late.back() = 1.0f;

    EXPECT_EQ(Correlate(late, early).offset, 99);
    EXPECT_EQ(Correlate(early, late).offset, -99);
}

TEST_P(CrossCorrelation, AnInvertedSignalMatchesWithAPositiveCorrelation) {
    const std::vector<float> signal = FloatNoise(500, 3);
    std::vector<float> inverted = signal;
    for (float& value : inverted) value = -value;

    const auto result = Correlate(signal, inverted);

    EXPECT_NEAR(result.correlation, 1.0, 1e-5);
    EXPECT_EQ(result.offset, 0);
}

TEST_P(CrossCorrelation, ZerosHaveNoResult) {
    const std::vector<float> zeros(300, 0.0f);
    const std::vector<float> signal = FloatNoise(300, 1);

    for (const auto& [a, b] : {std::pair(zeros, zeros), {zeros, signal}, {signal, zeros}}) {
        const auto result = Correlate(a, b);
        EXPECT_EQ(result.correlation, 0.0);
        EXPECT_EQ(result.offset, 0);
    }
}

TEST_P(CrossCorrelation, ASignalWithANotANumberHasNoResult) {
    std::vector<float> broken = FloatNoise(300, 1);
    broken[77] = std::numeric_limits<float>::quiet_NaN();

    const auto result = Correlate(broken, FloatNoise(300, 1));

    EXPECT_EQ(result.correlation, 0.0);
    EXPECT_EQ(result.offset, 0);
}

TEST_P(CrossCorrelation, StridesSelectOneChannel) {
    const std::vector<float> left = FloatNoise(200, 1);
    const std::vector<float> right = FloatNoise(200, 2);
    std::vector<float> both;
    for (std::size_t i = 0; i < 200; ++i) both.insert(both.end(), {left[i], right[i], 9.0f});

    const auto strided = AudioSync::CrossCorrelate(both.data() + 1, 3, left.data(), 1, 200);

    const auto plain = Correlate(right, left);
    EXPECT_EQ(strided.correlation, plain.correlation);
    EXPECT_EQ(strided.offset, plain.offset);
}

TEST_P(CrossCorrelation, EveryLengthHasTheBitsOfTheReference) {
    for (const int count : {1, 2, 3, 7, 16, 31, 32, 33, 100, 1000, 4096, 5001}) {
        const std::vector<float> a = FloatNoise(count, 11);
        std::vector<float> b = FloatNoise(count, 12);
        for (int i = count / 3; i < count; ++i) {
            b[static_cast<std::size_t>(i)] += a[static_cast<std::size_t>(i - count / 3)];
        }

        const auto result = Correlate(a, b);

        const ReferenceCorrelation expected =
            ReferenceCrossCorrelate(a.data(), 1, b.data(), 1, count);
        ASSERT_EQ(result.correlation, expected.correlation) << count;
        ASSERT_EQ(result.offset, expected.offset) << count;
    }
}

// ---- The peak

class PeakSearch : public orlo::sonrel::test::OnEveryCpuPath {};
SONREL_ON_EVERY_CPU_PATH(PeakSearch);

Peak PeakOf(const std::vector<double>& values, double divisor) {
    return FindPeak({values.data(), values.size(), values.size(), 1.0}, divisor);
}

TEST_P(PeakSearch, OnlyRealPartsCount) {
    const Peak peak = PeakOf({1.0, 50.0, -2.0, 60.0, 1.5, 70.0}, 4.0);

    EXPECT_EQ(peak.correlation, 0.5);
    EXPECT_EQ(peak.position, 2U);
}

TEST_P(PeakSearch, TheFirstOfEqualPeaksWins) {
    std::vector<double> values(20000, 0.0);
    values[6000] = -3.0;
    values[6002] = 3.0;
    values[19998] = 3.0;

    EXPECT_EQ(PeakOf(values, 1.0).position, 6000U);
}

TEST_P(PeakSearch, TheFirstOfValuesWithTheSameQuotientWins) {
    // The quotients of neighbouring doubles are so close together that some of them are equal.
    double value = 1.6;
    while (value / 1.5 != std::nextafter(value, 2.0) / 1.5) value = std::nextafter(value, 2.0);
    std::vector<double> values(9000, 0.0);
    values[10] = value;
    values[8000] = std::nextafter(value, 2.0);

    EXPECT_EQ(PeakOf(values, 1.5).position, 10U);
}

TEST_P(PeakSearch, NotANumberNeverWins) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> values(64, nan);
    values[40] = 0.25;

    const Peak peak = PeakOf(values, 0.5);

    EXPECT_EQ(peak.correlation, 0.5);
    EXPECT_EQ(peak.position, 40U);
}

TEST_P(PeakSearch, TheFirstInfiniteValueWins) {
    std::vector<double> values(64, 1.0);
    values[30] = -std::numeric_limits<double>::infinity();
    values[50] = std::numeric_limits<double>::infinity();

    const Peak peak = PeakOf(values, 0.5);

    EXPECT_EQ(peak.correlation, std::numeric_limits<double>::infinity());
    EXPECT_EQ(peak.position, 30U);
}

TEST_P(PeakSearch, TheFirstQuotientThatOverflowsWins) {
    std::vector<double> values(64, 0.0);
    values[20] = 1e300;
    values[40] = 1e301;

    EXPECT_EQ(PeakOf(values, 1e-20).position, 20U);
}

TEST_P(PeakSearch, TheFirstOfEqualTinyQuotientsWins) {
    std::vector<double> values(64, 0.0);
    values[20] = 1.0e-300;
    values[40] = 1.1e-300;

    EXPECT_EQ(PeakOf(values, 1e23).position, 20U);  // both round to the smallest double
}

TEST_P(PeakSearch, ADivisorOf0FindsOnlyNonZeroValues) {
    EXPECT_EQ(PeakOf({0.0, 0.0, 0.0, 0.0}, 0.0).correlation, 0.0);
    EXPECT_EQ(PeakOf({0.0, 0.0, 2.0, 0.0}, 0.0).position, 2U);
}

TEST_P(PeakSearch, ScaledAndUnscaledValuesAreComparedScaled) {
    std::vector<double> values(40, 0.0);
    values[2] = 0.5;
    values[20] = 3.0;

    const Peak first = FindPeak({values.data(), values.size(), 5, 0.125}, 1.0);
    const Peak second = FindPeak({values.data(), values.size(), 5, 0.25}, 1.0);

    EXPECT_EQ(first.position, 2U);
    EXPECT_EQ(first.correlation, 0.5);
    EXPECT_EQ(second.position, 20U);
    EXPECT_EQ(second.correlation, 0.75);
}

TEST(Lag, TheUpperHalfOfTheTransformHoldsNegativeLags) {
    EXPECT_EQ(LagOf(0, 16), 0);
    EXPECT_EQ(LagOf(6, 16), 3);
    EXPECT_EQ(LagOf(8, 16), -4);
    EXPECT_EQ(LagOf(14, 16), -1);
}

// ---- Spectra

TEST(SpectrumOf, TheSizeIsTheSmallestPowerOfTwoWithRoomForTheSamples) {
    const std::vector<float> samples(65, 0.5f);
    Spectrum spectrum;
    const auto sizeFor = [&](unsigned int count) {
        SpectrumOf(samples.data(), count, spectrum);
        return spectrum.size();
    };

    EXPECT_EQ(sizeFor(1), 2U);
    EXPECT_EQ(sizeFor(2), 4U);
    EXPECT_EQ(sizeFor(64), 128U);
    EXPECT_EQ(sizeFor(65), 256U);
}

TEST(SpectrumOf, OldContentsAreReplaced) {
    const float impulse[] = {1.0f, 0.0f, 0.0f};
    Spectrum spectrum(64, 99.0);

    SpectrumOf(impulse, 3, spectrum);

    EXPECT_EQ(spectrum, (Spectrum{1, 0, 1, 0, 1, 0, 1, 0}));
}

TEST(InvertSpectrum, UndoesTheTransform) {
    const std::vector<float> samples = FloatNoise(128, 5);
    Spectrum spectrum;
    SpectrumOf(samples.data(), 128, spectrum);

    InvertSpectrum(spectrum);

    for (std::size_t i = 0; i < 128; ++i) {
        EXPECT_NEAR(spectrum[2 * i], static_cast<double>(samples[i]), 1e-13);
        EXPECT_NEAR(spectrum[2 * i + 1], 0.0, 1e-13);
    }
}

// ---- Stereo

TEST(SplitStereo, SplitsTheChannelsAndPadsThemWithZeros) {
    const short frames[] = {16384, -32768, 0, 1};
    ChannelPair<std::vector<float>> samples;
    samples.left.assign(50, 7.0f);
    ChannelPair<float> norms;

    SplitStereo(frames, 2, 1, 2, samples, norms);

    EXPECT_EQ(samples.left, (std::vector<float>{0.0f, 0.5f, 0.0f, 0.0f, 0.0f}));
    EXPECT_EQ(samples.right, (std::vector<float>{0.0f, -1.0f, 1.0f / 32768.0f, 0.0f, 0.0f}));
    EXPECT_EQ(norms.left, 0.5f);
    EXPECT_EQ(norms.right, 1.0f);
}

TEST(SplitStereo, NoFramesHaveNormsOf0) {
    ChannelPair<std::vector<float>> samples;
    ChannelPair<float> norms{3.0f, {}, 3.0f, {}};

    SplitStereo(nullptr, 0, 0, 4, samples, norms);

    EXPECT_EQ(samples.left.size(), 4U);
    EXPECT_EQ(norms.left, 0.0f);
    EXPECT_EQ(norms.right, 0.0f);
}

TEST(SplitStereo, SquaresAreAddedInSinglePrecisionFromTheFirstToTheLast) {
    // After a full-scale sample, squares of 2^-30 are lost in single precision, however many there
    // are; before it, 2^20 of them add up to 2^-10.
    const int count = 1 << 20;
    std::vector<short> frames(2 * (static_cast<std::size_t>(count) + 1), 1);
    frames[0] = -32768;
    frames.back() = -32768;
    ChannelPair<std::vector<float>> samples;
    ChannelPair<float> norms;

    SplitStereo(frames.data(), count + 1, 0, 0, samples, norms);

    EXPECT_EQ(norms.left, 1.0f);
    EXPECT_EQ(norms.right, std::sqrt(1.0f + 1.0f / 1024.0f));
}

TEST(ChannelPair, TheChannelsAreOnDifferentCacheLines) {
    const ChannelPair<float> pair;
    const auto distance =
        reinterpret_cast<const char*>(&pair.right) - reinterpret_cast<const char*>(&pair.left);

    EXPECT_GE(distance, 64);
    EXPECT_GE(sizeof pair - static_cast<std::size_t>(distance), 64U);
}

// ---- One block

struct BlockSignals {
    Spectrum a;
    Spectrum b;
    float normA = 0.0f;
    float normB = 0.0f;
};

float NormOf(const std::vector<float>& samples) {
    float sum = 0.0f;
    for (const float value : samples) sum += value * value;
    return std::sqrt(sum);
}

/// A, and B, which contains A from a position on, in transforms of 512 points.
BlockSignals MakeBlock(int position) {
    std::vector<float> a = FloatNoise(100, 21);
    std::vector<float> b(300, 0.0f);
    for (std::size_t i = 0; i < a.size(); ++i) b[i + static_cast<std::size_t>(position)] = a[i];
    BlockSignals block;
    block.normA = NormOf(a);
    block.normB = NormOf(b);
    a.resize(512);
    b.resize(512);
    SpectrumOf(a.data(), 512, block.a);
    SpectrumOf(b.data(), 512, block.b);
    return block;
}

TEST(SearchBlock, TheLagIsThePositionOfAInB) {
    const BlockSignals block = MakeBlock(137);
    Spectrum product;

    const SearchResult result = SearchBlock(Channel::Right, 100, 200, block.normA, block.normB,
                                            block.a, block.b, &product, nullptr);

    EXPECT_EQ(result.offset, 137);
    EXPECT_NEAR(result.correlation, 1.0, 1e-5);
    EXPECT_EQ(result.channel, Channel::Right);
    EXPECT_EQ(result.segmentIndex, 0U);
}

TEST(SearchBlock, ANormOfExactlyTheThresholdIsSilent) {
    const BlockSignals block = MakeBlock(0);
    Spectrum product;
    const auto search = [&](float normA, float normB) {
        return SearchBlock(Channel::Right, 100, 200, normA, normB, block.a, block.b, &product,
                           nullptr);
    };
    // The float nearest to 0.01 is below 0.01, the next float above.
    const float at = 0.01f;
    const float above = std::nextafter(at, 1.0f);

    EXPECT_EQ(search(at, block.normB).correlation, 0.0);
    EXPECT_EQ(search(block.normA, at).correlation, 0.0);
    EXPECT_EQ(search(at, block.normB).channel, Channel::Left);
    EXPECT_GT(search(above, block.normB).correlation, 0.0);
    EXPECT_GT(search(block.normA, above).correlation, 0.0);
}

TEST(SearchBlock, SilenceLeavesTheHistoryUnchanged) {
    const BlockSignals block = MakeBlock(0);
    Spectrum product;
    Spectrum history(100, 5.0);

    SearchBlock(Channel::Left, 100, 200, 0.0f, block.normB, block.a, block.b, &product, &history);

    EXPECT_EQ(history, Spectrum(100, 5.0));
}

TEST(SearchBlock, ANormThatIsNotANumberIsSilent) {
    const BlockSignals block = MakeBlock(0);
    Spectrum product;
    const float nan = std::numeric_limits<float>::quiet_NaN();

    EXPECT_EQ(SearchBlock(Channel::Left, 100, 200, nan, 1.0f, block.a, block.b, &product, nullptr)
                  .correlation,
              0.0);
}

TEST(SearchBlock, TheHistoryCountsDoublesAndIsAddedBeforeItIsStored) {
    const BlockSignals block = MakeBlock(200);
    Spectrum product;
    Spectrum history(100);
    for (std::size_t i = 0; i < history.size(); ++i) history[i] = 0.001 * static_cast<double>(i);
    Spectrum expected = history;

    const SearchResult result = SearchBlock(Channel::Left, 100, 200, block.normA, block.normB,
                                            block.a, block.b, &product, &history);

    const ReferenceCorrelation plain =
        ReferenceSearchBlock(100, 200, block.normA, block.normB, block.a, block.b, &expected);
    EXPECT_EQ(history, expected);
    EXPECT_EQ(history[99], 0.099);  // one value less than the overlap is carried
    EXPECT_EQ(result.correlation, plain.correlation);
    EXPECT_EQ(result.offset, plain.offset);
}

TEST(SearchBlock, ThePeakMayBeInTheHistory) {
    const BlockSignals block = MakeBlock(200);
    Spectrum product;
    Spectrum history(100, 0.0);
    history[40] = 1000.0;

    const SearchResult result = SearchBlock(Channel::Left, 100, 200, block.normA, block.normB,
                                            block.a, block.b, &product, &history);

    EXPECT_EQ(result.offset, 20);
}

// ---- Both channels

TEST(JoinChannels, ChannelsThatMatchAtDifferentLagsGetTheMiddle) {
    const SearchResult joined =
        JoinChannels({0.96, -3, 4, Channel::Left}, {0.97, -2, 5, Channel::Right});

    EXPECT_EQ(joined.offset, -2);  // -2.5, cut toward zero
    EXPECT_EQ(joined.correlation, 0.97);
    EXPECT_EQ(joined.channel, Channel::Left);
    EXPECT_EQ(joined.segmentIndex, 4U);
}

TEST(JoinChannels, AMatchOfExactlyTheThresholdDoesNotAverage) {
    const SearchResult joined =
        JoinChannels({0.95, 10, 0, Channel::Left}, {0.99, 20, 0, Channel::Right});

    EXPECT_EQ(joined.offset, 20);
    EXPECT_EQ(joined.channel, Channel::Right);
}

TEST(JoinChannels, OfChannelsWithOneLagTheBetterWins) {
    EXPECT_EQ(JoinChannels({0.96, 7, 0, Channel::Left}, {0.99, 7, 0, Channel::Right}).channel,
              Channel::Right);
}

TEST(JoinChannels, TheLeftChannelWinsATie) {
    const SearchResult joined =
        JoinChannels({0.5, 1, 0, Channel::Left}, {0.5, 2, 0, Channel::Right});

    EXPECT_EQ(joined.offset, 1);
    EXPECT_EQ(joined.channel, Channel::Left);
}

}  // namespace
}  // namespace sonrel_tests
