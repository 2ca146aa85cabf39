// SPDX-License-Identifier: MIT
#include "sonrel/sync/AudioSync.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "sonrel/sync/StereoReader.h"
#include "sonrel/sync/detail/AssetSearch.h"
#include "tests/sync/AlignmentRig.h"

namespace sonrel_tests {
namespace {

class Alignment : public testing::Test {
protected:
    static void ExpectNoResult(const AudioSync::CorrelationResult& result) {
        EXPECT_EQ(result.correlation, 0.0);
        EXPECT_EQ(result.offset, 0);
    }

    AlignmentRig rig_;
};

/// Two long recordings with one event at different positions.
struct LongPair {
    Samples event = Event(1500, 50);
    Recording shorter = Take(8 * RATE, 1, 2000, event);
    Recording longer = Take(30 * RATE, 2, 12345, event);
    /// Frame t of the longer recording matches frame t + TRUE_OFFSET of the shorter one.
    static constexpr long long TRUE_OFFSET = 2000 - 12345;
};

// ---- Short recordings, compared whole

TEST(StereoReader, AStretchIsMonoWhenBothChannelsAreEqualInEveryFrame) {
    using orlo::sonrel::IsMono;

    EXPECT_TRUE(IsMono({}));
    EXPECT_TRUE(IsMono({0.5f, 0.5f, -1.0f, -1.0f, 0.0f, 0.0f}));
    EXPECT_FALSE(IsMono({0.5f, 0.25f, 0.0f, 0.0f}));
    EXPECT_FALSE(IsMono({0.0f, 0.0f, 0.5f, 0.5f, 0.0f, 0.25f}));
}

TEST_F(Alignment, EqualLengthsUpToFiveSecondsAreComparedWholeWithoutProgress) {
    const Samples event = Event(1500, 50);
    ProgressCalls calls;

    const auto result =
        rig_.Find(Take(5 * RATE, 1, 2000, event), Take(5 * RATE, 2, 1963, event), Recorder(calls));

    EXPECT_EQ(result.offset, 37);
    EXPECT_GT(result.correlation, 0.9);
    EXPECT_TRUE(calls.empty());
}

TEST_F(Alignment, OneFrameMoreThanFiveSecondsIsSearchedInBlocks) {
    ProgressCalls calls;

    rig_.Find(Take(5 * RATE + 1, 1, 0, {}), Take(5 * RATE + 1, 2, 0, {}), Recorder(calls));

    EXPECT_FALSE(calls.empty());
}

TEST_F(Alignment, ADifferenceOfExactlyASecondIsSearchedInBlocks) {
    ProgressCalls calls;

    rig_.Find(Take(3 * RATE, 1, 0, {}), Take(4 * RATE, 2, 0, {}), Recorder(calls));

    EXPECT_FALSE(calls.empty());
}

TEST_F(Alignment, ADifferenceOfAFrameLessThanASecondIsComparedWhole) {
    ProgressCalls calls;

    rig_.Find(Take(3 * RATE + 1, 1, 0, {}), Take(4 * RATE, 2, 0, {}), Recorder(calls));

    EXPECT_TRUE(calls.empty());
}

TEST_F(Alignment, AWholeComparisonOfExchangedRecordingsReversesTheSignOfTheOffset) {
    const Samples event = Event(1500, 50);
    const Recording a = Take(4 * RATE, 1, 1000, event);
    const Recording b = Take(4 * RATE, 2, 1400, event);

    EXPECT_EQ(rig_.Find(a, b).offset, -400);
    EXPECT_EQ(rig_.Find(b, a).offset, 400);
}

TEST_F(Alignment, ARecordingMatchesItself) {
    const Recording recording = Take(5 * RATE, 1, 0, Event(5 * RATE, 2));

    const auto result = rig_.Find(recording, recording);

    EXPECT_NEAR(result.correlation, 1.0, 1e-3);
    EXPECT_EQ(result.offset, 0);
}

TEST_F(Alignment, AWholeComparisonOfATruncatedFileHasNoResult) {
    const Samples event = Event(1500, 50);
    const auto whole = rig_.Add(Take(4 * RATE, 1, 1000, event));
    const auto cut = rig_.Add(Take(3 * RATE + 1, 2, 1400, event));
    cut->AudioStream()->SetConformedSampleCount(4 * RATE);

    for (const auto& [a, b] : {std::pair(whole, cut), {cut, whole}}) {
        ExpectNoResult(AudioSync::FindOffset(rig_.Engine(), a, b, RATE, {}, nullptr));
    }
}

// ---- Long recordings in blocks

TEST_F(Alignment, ALongSearchReturnsTheTrueOffsetPlusTwoFrames) {
    const LongPair pair;

    const auto result = rig_.Find(pair.shorter, pair.longer);

    EXPECT_EQ(result.offset, LongPair::TRUE_OFFSET + 2);
    EXPECT_GT(result.correlation, 0.9);
}

TEST_F(Alignment, ExchangedRecordingsReverseTheSignOfTheOffset) {
    const LongPair pair;

    const auto result = rig_.Find(pair.longer, pair.shorter);

    EXPECT_EQ(result.offset, -LongPair::TRUE_OFFSET - 2);
}

TEST_F(Alignment, ALongRecordingMatchesItselfAtTwoFrames) {
    const Recording recording = Take(8 * RATE, 1, 0, Event(8 * RATE, 2));

    const auto result = rig_.Find(recording, recording);

    EXPECT_EQ(result.offset, 2);
    EXPECT_GT(result.correlation, 0.9);
}

TEST_F(Alignment, AReferenceOfOneSecondNeedsNoPeakFile) {
    const Samples event = Event(RATE, 50);
    Recording reference = Take(RATE, 1, 0, {});
    reference.samples = event;
    const Recording longer = Take(20 * RATE, 2, 7777, event);

    const auto result = AudioSync::FindOffset(rig_.Engine(), rig_.AddWithoutPeaks(reference),
                                              rig_.AddWithoutPeaks(longer), RATE, {}, nullptr);

    EXPECT_EQ(result.offset, -7777 + 2);
    EXPECT_GT(result.correlation, 0.9);
}

TEST_F(Alignment, AShortReferenceAtAnotherNativeRateFindsNothing) {
    Recording reference = Take(RATE / 2, 1, 0, Event(RATE / 2, 50));
    reference.nativeRate = 2 * RATE;
    reference.native = Samples(4 * reference.samples.size() / 2, 0);

    const auto result = rig_.Find(reference, Take(20 * RATE, 2, 7777, Event(RATE / 2, 50)));

    EXPECT_EQ(result.correlation, 0.0);
}

TEST_F(Alignment, AnEventInATailOfLessThanASecondIsNotFound) {
    const Samples event = Event(900, 50);
    const Recording reference = Take(6 * RATE, 1, 1920, event);
    const auto longWithTail = [&](int tail) {
        return Take(20 * RATE + tail, 2, 20 * RATE + 50, event);
    };

    EXPECT_LT(rig_.Find(reference, longWithTail(RATE - 1)).correlation, 0.5);

    const auto found = rig_.Find(reference, longWithTail(RATE));
    EXPECT_EQ(found.offset, 1920 - (20 * RATE + 50) + 2);
    EXPECT_GT(found.correlation, 0.9);
}

TEST_F(Alignment, SilentBlocksGiveTheOffsetOfTheFirstBlockWithoutCorrelation) {
    const Recording reference = Take(6 * RATE, 1, 4800, Event(992, 50));
    Recording silence = Take(20 * RATE, 2, 0, {});
    silence.samples.assign(silence.samples.size(), 0);

    const auto result = rig_.Find(reference, silence);

    // Nothing was refined: the offset is that of the first segment in the first block.
    const std::vector<ReferenceSearchSegment> segments = ReferenceSearchSegments(reference);
    EXPECT_EQ(result.correlation, 0.0);
    EXPECT_EQ(result.offset, RATE + segments.front().start);
}

TEST_F(Alignment, EverySearchHasTheBitsOfTheReference) {
    for (unsigned int seed = 0; seed < 24; ++seed) {
        const int shortFrames = 1200 + 700 * static_cast<int>(seed % 9);
        const int longFrames = 7001 + 1333 * static_cast<int>(seed % 7);
        const Samples event = Event(1300, seed + 500, 1000 + 500 * static_cast<int>(seed));
        Recording a = Take(shortFrames, seed, 40 * static_cast<int>(seed), event);
        Recording b = Take(longFrames, seed + 70, 300 * static_cast<int>(seed), event);
        if (seed % 4 == 1) {
            for (std::size_t i = 1; i < a.samples.size(); i += 2) a.samples[i] = 0;
        }
        if (seed % 4 == 2) {
            a.nativeRate = 2000;
            a.native = MakeSamples(2 * shortFrames, [&](int frame, int channel) {
                return a.samples[static_cast<std::size_t>(frame / 2 * 2 + channel)];
            });
        }
        if (seed % 2 == 1) std::swap(a, b);

        const auto result = rig_.Find(a, b);

        const ReferenceCorrelation expected = ReferenceFindOffset(a, b, RATE);
        ASSERT_EQ(result.correlation, expected.correlation) << seed;
        ASSERT_EQ(result.offset, expected.offset) << seed;
    }
}

TEST_F(Alignment, RecordingsOfDifferentRatesHaveAFiniteCorrelation) {
    Recording other = Take(20 * RATE, 2, 0, Event(3000, 3));
    other.rate = other.nativeRate = 2 * RATE;

    for (const auto& [a, b] :
         {std::pair(Take(8 * RATE, 1, 0, {}), other), std::pair(other, Take(8 * RATE, 1, 0, {}))}) {
        const auto result = rig_.Find(a, b);
        EXPECT_TRUE(std::isfinite(result.correlation));
        EXPECT_GE(result.correlation, 0.0);
    }
}

// ---- Nothing to compare

TEST_F(Alignment, ARecordingWithoutConformedSamplesHasNoResultAndNoProgress) {
    Recording empty = Take(0, 1, 0, {});
    empty.native = Samples(2000, 5);
    const Recording other = Take(8 * RATE, 2, 0, {});
    ProgressCalls calls;

    ExpectNoResult(rig_.Find(empty, other, Recorder(calls)));
    ExpectNoResult(rig_.Find(other, empty, Recorder(calls)));
    EXPECT_TRUE(calls.empty());
}

TEST_F(Alignment, AnAssetWithoutSoundHasNoResult) {
    ProjectBuilder builder;
    const auto silent = builder.AddSilentMedia();
    const auto other = rig_.Add(Take(8 * RATE, 2, 0, {}));

    ExpectNoResult(AudioSync::FindOffset(rig_.Engine(), silent, other, RATE, {}, nullptr));
    ExpectNoResult(AudioSync::FindOffset(rig_.Engine(), other, silent, RATE, {}, nullptr));
    ExpectNoResult(AudioSync::CompareRanges(rig_.Engine(), silent, other, 100, 0, 0));
}

TEST_F(Alignment, AReferenceOverASecondWithoutPeakFileHasNoResultAndNoProgress) {
    const auto reference = rig_.AddWithoutPeaks(Take(RATE + 1, 1, 0, {}));
    const auto longer = rig_.Add(Take(20 * RATE, 2, 0, {}));
    ProgressCalls calls;

    ExpectNoResult(
        AudioSync::FindOffset(rig_.Engine(), reference, longer, RATE, Recorder(calls), nullptr));
    EXPECT_TRUE(calls.empty());
}

TEST_F(Alignment, OnlyTheShorterRecordingNeedsAPeakFile) {
    const LongPair pair;

    const auto result = AudioSync::FindOffset(rig_.Engine(), rig_.Add(pair.shorter),
                                              rig_.AddWithoutPeaks(pair.longer), RATE, {}, nullptr);

    EXPECT_EQ(result.offset, LongPair::TRUE_OFFSET + 2);
}

TEST_F(Alignment, ALongerRecordingOfLessThanASecondHasNoResult) {
    ProgressCalls calls;

    // A tenth of the rate decides the path, so that neither recording counts as short.
    const auto result = AudioSync::FindOffset(rig_.Engine(), rig_.Add(Take(500, 1, 0, {})),
                                              rig_.Add(Take(RATE - 1, 2, 0, {})), RATE / 10,
                                              Recorder(calls), nullptr);

    ExpectNoResult(result);
    EXPECT_EQ(calls, (ProgressCalls{{0, 1}}));
}

TEST_F(Alignment, ATruncatedFileIsSearchedUpToItsEnd) {
    const LongPair pair;
    const auto longer = rig_.Add(pair.longer);
    longer->AudioStream()->SetConformedSampleCount(300 * RATE);

    const auto result =
        AudioSync::FindOffset(rig_.Engine(), rig_.Add(pair.shorter), longer, RATE, {}, nullptr);

    EXPECT_EQ(result.offset, LongPair::TRUE_OFFSET + 2);
}

// ---- Progress and cancel

TEST_F(Alignment, ProgressCountsUpByOneAndReachesTheTotalOnceAtTheEnd) {
    const LongPair pair;
    const auto steps = static_cast<int>(15 * ReferenceSearchSegments(pair.shorter).size());
    const auto total = static_cast<int>(
        16 * static_cast<double>(ReferenceSearchSegments(pair.shorter).size()) * 1.1);
    ProgressCalls calls;

    rig_.Find(pair.shorter, pair.longer, Recorder(calls));

    ASSERT_EQ(calls.size(), static_cast<std::size_t>(steps) + 2);
    for (int i = 0; i <= steps; ++i) {
        EXPECT_EQ(calls[static_cast<std::size_t>(i)], std::pair(i, total));
    }
    EXPECT_LT(steps, total);
    EXPECT_EQ(calls.back(), std::pair(total, total));
}

TEST_F(Alignment, TheTotalIsATenthMoreThanTheStepsTruncated) {
    using orlo::sonrel::detail::ProgressTotal;
    EXPECT_EQ(ProgressTotal(30000, 2000, 2), 35);  // 32 * 1.1 = 35.2
    EXPECT_EQ(ProgressTotal(17999, 2000, 1), 9);   // 9 * 1.1 = 9.9
    EXPECT_EQ(ProgressTotal(18000, 2000, 1), 11);
}

TEST_F(Alignment, InAVeryShortSearchTheLastStepAlreadyReachesTheTotal) {
    // Two blocks and a tail of a second, one segment: 3 * 1.1 is cut to 3.
    ProgressCalls calls;
    const Recording reference = Take(RATE, 1, 0, Event(RATE, 50));

    rig_.Find(reference, Take(5 * RATE, 2, 0, {}), Recorder(calls));

    EXPECT_EQ(calls, (ProgressCalls{{0, 3}, {1, 3}, {2, 3}, {3, 3}, {3, 3}}));
}

TEST_F(Alignment, ProgressIsCalledOnTheCallingThread) {
    const LongPair pair;
    bool onCaller = true;
    const auto caller = std::this_thread::get_id();

    rig_.Find(pair.shorter, pair.longer,
              [&](int, int) { onCaller = onCaller && std::this_thread::get_id() == caller; });

    EXPECT_TRUE(onCaller);
}

TEST_F(Alignment, ProgressIsDestroyedBeforeTheCallReturnsOnEveryPath) {
    const LongPair pair;
    const auto shorter = rig_.Add(pair.shorter);
    const auto longer = rig_.Add(pair.longer);
    const auto empty = rig_.Add(Take(0, 1, 0, {}));
    const auto whole = rig_.Add(Take(3 * RATE, 1, 0, {}));
    const auto noPeaks = rig_.AddWithoutPeaks(pair.shorter);
    std::atomic<bool> cancelled{true};
    struct Path {
        std::shared_ptr<project::MediaAsset> a;
        std::shared_ptr<project::MediaAsset> b;
        std::atomic<bool>* cancel;
    };
    for (const Path& path : {Path{shorter, longer, nullptr}, Path{shorter, longer, &cancelled},
                             Path{empty, longer, nullptr}, Path{whole, whole, nullptr},
                             Path{noPeaks, longer, nullptr}}) {
        auto token = std::make_shared<int>(0);
        const std::weak_ptr<int> held = token;
        std::function<void(int, int)> progress = [token](int, int) {};
        token.reset();

        // In one expression: temporaries of the call would still exist after the comma.
        const bool gone = (AudioSync::FindOffset(rig_.Engine(), path.a, path.b, RATE,
                                                 std::move(progress), path.cancel),
                           held.expired());

        EXPECT_TRUE(gone);
    }
}

TEST_F(Alignment, ASearchCancelledBeforeItBeginsHasNoResult) {
    const LongPair pair;
    std::atomic<bool> cancel{true};
    ProgressCalls calls;

    ExpectNoResult(rig_.Find(pair.shorter, pair.longer, Recorder(calls), &cancel));
    EXPECT_EQ(calls.size(), 1U);
}

TEST_F(Alignment, ASearchCancelledAtAnyStepHasNoResultAndNoMoreProgress) {
    const LongPair pair;
    const auto shorter = rig_.Add(pair.shorter);
    const auto longer = rig_.Add(pair.longer);
    const int steps = static_cast<int>(15 * ReferenceSearchSegments(pair.shorter).size());
    for (int at = 0; at < steps; at += 3) {
        std::atomic<bool> cancel{false};
        int last = -1;

        const auto result = AudioSync::FindOffset(
            rig_.Engine(), shorter, longer, RATE,
            [&](int done, int) {
                last = done;
                if (done == at) cancel = true;
            },
            &cancel);

        ExpectNoResult(result);
        EXPECT_EQ(last, at);
    }
}

TEST_F(Alignment, ASearchCancelledDuringRefinementReturnsTheBestCandidateSoFar) {
    const LongPair pair;
    const int steps = static_cast<int>(15 * ReferenceSearchSegments(pair.shorter).size());
    std::atomic<bool> cancel{false};
    ProgressCalls calls;

    const auto result = rig_.Find(
        pair.shorter, pair.longer,
        [&](int done, int total) {
            calls.emplace_back(done, total);
            if (done == steps) cancel = true;
        },
        &cancel);

    const ReferenceCorrelation coarse = ReferenceFindOffset(pair.shorter, pair.longer, RATE, false);
    EXPECT_EQ(result.offset, coarse.offset);
    EXPECT_EQ(result.correlation, coarse.correlation);
    EXPECT_EQ(calls.back().first, calls.back().second);
}

TEST_F(Alignment, TheOffsetsOfASearchAreTheseSums) {
    using orlo::sonrel::detail::CoarseOffset;
    using orlo::sonrel::detail::RefinedOffset;
    EXPECT_EQ(CoarseOffset(48000, 47999, 96000, 96000), 1);
    EXPECT_EQ(CoarseOffset(48000, 0, 500, 96000), 48000 + 500 - 96000);
    EXPECT_EQ(RefinedOffset(10, 1, false), 11);
    EXPECT_EQ(RefinedOffset(10, 1, true), -11);
}

TEST(BestOf, TheFirstOfEqualCorrelationsWins) {
    using orlo::sonrel::detail::BestOf;
    using orlo::sonrel::detail::SearchResult;
    std::vector<SearchResult> results(40);
    results[7].correlation = results[30].correlation = 0.5;

    EXPECT_EQ(&BestOf(results), &results[7]);
}

// ---- Ranges

TEST_F(Alignment, ComparedRangesReturnTheExactOffset) {
    const LongPair pair;

    const auto result = AudioSync::CompareRanges(rig_.Engine(), rig_.Add(pair.shorter),
                                                 rig_.Add(pair.longer), 3000, 1000, 11300);

    // The event begins at frame 1000 of the first range and at frame 1045 of the second.
    EXPECT_EQ(result.offset, -45);
    EXPECT_GT(result.correlation, 0.9);
}

TEST_F(Alignment, ARangeBeyondTheEndHasNoResult) {
    const auto a = rig_.Add(Take(4 * RATE, 1, 0, Event(4 * RATE, 9)));
    const auto compare = [&](int count, long long startA, long long startB) {
        return AudioSync::CompareRanges(rig_.Engine(), a, a, count, startA, startB);
    };

    EXPECT_GT(compare(1000, 3000, 3000).correlation, 0.9);
    ExpectNoResult(compare(1000, 3001, 3000));
    ExpectNoResult(compare(1000, 3000, 3001));
    ExpectNoResult(compare(4001, 0, 0));
    ExpectNoResult(compare(std::numeric_limits<int>::max(), 0, 0));
}

TEST_F(Alignment, NegativeStartsAndEmptyRangesHaveNoResult) {
    const auto a = rig_.Add(Take(4 * RATE, 1, 0, Event(4 * RATE, 9)));
    const auto compare = [&](int count, long long startA, long long startB) {
        return AudioSync::CompareRanges(rig_.Engine(), a, a, count, startA, startB);
    };

    ExpectNoResult(compare(0, 0, 0));
    ExpectNoResult(compare(-1, 0, 0));
    ExpectNoResult(compare(100, -1, 0));
    ExpectNoResult(compare(100, 0, -1));
    EXPECT_GT(compare(100, 0, 0).correlation, 0.9);
}

TEST_F(Alignment, EveryComparedRangeHasTheBitsOfTheReference) {
    for (unsigned int seed = 0; seed < 20; ++seed) {
        const Samples event = Event(700, seed + 10, 3000);
        const Recording a = Take(3000, seed, 900 + 31 * static_cast<int>(seed), event);
        Recording b = Take(3000, seed + 40, 1100, event);
        if (seed % 5 == 1) b.samples.assign(b.samples.size(), 0);
        if (seed % 5 == 2) {  // the channels of b lag differently
            for (std::size_t i = b.samples.size() - 1; i > 40; i -= 2) {
                b.samples[i] = b.samples[i - 40];
            }
        }
        const int count = 800 + 97 * static_cast<int>(seed);

        const auto result =
            AudioSync::CompareRanges(rig_.Engine(), rig_.Add(a), rig_.Add(b), count, 100, 90);

        const ReferenceCorrelation expected = ReferenceCompareRanges(a, b, count, 100, 90);
        ASSERT_EQ(result.correlation, expected.correlation) << seed;
        ASSERT_EQ(result.offset, expected.offset) << seed;
    }
}

TEST_F(Alignment, ComparedRangesOfMonoRecordingsHaveTheBitsOfTheReference) {
    const auto mono = [](Recording recording) {
        for (std::size_t i = 0; i < recording.samples.size(); i += 2) {
            recording.samples[i + 1] = recording.samples[i];
        }
        return recording;
    };
    for (const int at : {1090, 1040, 1150}) {  // a lag of 0 and lags of both signs
        const Samples event = Event(700, 10, 3000);
        const Recording a = mono(Take(3000, 1, at, event));
        const Recording b = mono(Take(3000, 2, 1090, event));

        const auto result =
            AudioSync::CompareRanges(rig_.Engine(), rig_.Add(a), rig_.Add(b), 1500, 100, 100);

        const ReferenceCorrelation expected = ReferenceCompareRanges(a, b, 1500, 100, 100);
        EXPECT_EQ(result.correlation, expected.correlation) << at;
        EXPECT_EQ(result.offset, expected.offset) << at;
        EXPECT_EQ(result.offset, at - 1090);
    }
}

}  // namespace
}  // namespace sonrel_tests
