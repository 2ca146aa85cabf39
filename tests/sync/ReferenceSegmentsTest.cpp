// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/ReferenceSegments.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "sonrel/sync/detail/LoudWindows.h"
#include "tests/sync/AlignmentRig.h"

namespace sonrel_tests {
namespace {

using namespace orlo::sonrel::detail;  // NOLINT: everything here is about it

std::vector<std::pair<int, long long>> Entries(const LoudWindows<unsigned char>& windows) {
    std::vector<std::pair<int, long long>> entries;
    for (const auto& window : windows.InOrder()) entries.emplace_back(window.key, window.position);
    return entries;
}

using Places = std::vector<std::pair<long long, long long>>;

Places PlacesOf(const std::vector<ReferenceSegment>& segments) {
    Places places;
    for (const ReferenceSegment& segment : segments) {
        places.emplace_back(segment.start, segment.length);
    }
    return places;
}

Places PlacesOf(const std::vector<zrtl::FrameRange>& ranges) {
    Places places;
    for (const zrtl::FrameRange& range : ranges) places.emplace_back(range.start, range.Count());
    return places;
}

// ---- The lists of loud windows

TEST(LoudWindows, TheLoudestComesFirst) {
    LoudWindows<unsigned char> windows;
    windows.Add(5, 100);
    windows.Add(9, 200);
    windows.Add(7, 300);

    EXPECT_EQ(Entries(windows),
              (std::vector<std::pair<int, long long>>{{9, 200}, {7, 300}, {5, 100}}));
}

TEST(LoudWindows, AWindowAsLoudAsOthersIsAddedAfterThem) {
    LoudWindows<unsigned char> windows;
    windows.Add(5, 200);
    windows.Add(9, 100);
    windows.Add(9, 300);

    EXPECT_EQ(Entries(windows),
              (std::vector<std::pair<int, long long>>{{9, 100}, {9, 300}, {5, 200}}));
}

TEST(LoudWindows, AWindowQuieterThanTheLastIsNotAddedEvenWhenThereIsRoom) {
    LoudWindows<unsigned char> windows;
    windows.Add(9, 100);
    windows.Add(8, 200);

    EXPECT_EQ(Entries(windows), (std::vector<std::pair<int, long long>>{{9, 100}}));
}

TEST(LoudWindows, TenAreKept) {
    LoudWindows<unsigned char> windows;
    for (int i = 1; i <= 11; ++i) windows.Add(static_cast<unsigned char>(i), i);

    EXPECT_EQ(windows.InOrder().size(), 10U);
    EXPECT_EQ(windows.InOrder().front().key, 11);
    EXPECT_EQ(windows.InOrder().back().key, 2);
}

TEST(LargestPeak, IsTheLargestAbsoluteValue) {
    EXPECT_EQ(LargestPeak({-3, 2, -100, 99}), 100);
    EXPECT_EQ(LargestPeak({-127, 0}), 127);
    EXPECT_EQ(LargestPeak({}), 0);
}

TEST(LargestPeak, TheLowestByteIsIgnored) {
    EXPECT_EQ(LargestPeak({-128, 0}), 0);
    EXPECT_EQ(LargestPeak({-128, 1}), 1);
}

// ---- The choice

TEST(ChooseSeconds, TheLoudestByPeakThatDoesNotOverlapIsAdded) {
    LoudSeconds seconds;
    seconds.byRms.Add(10, 5000);
    seconds.byPeak.Add(50, 5500);
    seconds.byPeak.Add(50, 6000);
    seconds.byPeak.Add(50, 9000);

    EXPECT_EQ(PlacesOf(ChooseSeconds(seconds, 1000)), (Places{{5000, 1000}, {6000, 1000}}));
}

TEST(ChooseSeconds, AWindowThatEndsWhereTheOtherBeginsDoesNotOverlap) {
    LoudSeconds seconds;
    seconds.byRms.Add(10, 5000);
    seconds.byPeak.Add(50, 4001);
    seconds.byPeak.Add(50, 4000);

    EXPECT_EQ(PlacesOf(ChooseSeconds(seconds, 1000)), (Places{{5000, 1000}, {4000, 1000}}));
}

TEST(ChooseSeconds, WithoutRmsOnlyThePeakChooses) {
    LoudSeconds seconds;
    seconds.byPeak.Add(50, 700);
    seconds.byPeak.Add(50, 9000);

    EXPECT_EQ(PlacesOf(ChooseSeconds(seconds, 1000)), (Places{{700, 1000}}));
}

TEST(ChooseSeconds, OfSilenceTheFirstSecondIsChosen) {
    EXPECT_EQ(PlacesOf(ChooseSeconds({}, 1000)), (Places{{0, 1000}}));
}

// ---- From a recording

class CollectSegments : public testing::Test {
protected:
    ReferenceSet Collect(const Recording& recording) {
        return CollectReferenceSegments(*rig_.Engine()->Mixer(), rig_.Add(recording));
    }

    AlignmentRig rig_;
};

TEST_F(CollectSegments, AReferenceOfOneSecondIsUsedWholeWithoutItsPeakFile) {
    const Recording recording = Take(RATE, 1, 0, Event(RATE, 2));

    const ReferenceSet set =
        CollectReferenceSegments(*rig_.Engine()->Mixer(), rig_.AddWithoutPeaks(recording));

    EXPECT_EQ(PlacesOf(set.segments), (Places{{0, RATE}}));
    EXPECT_GT(set.segments[0].norms.left, 0.01f);
    EXPECT_EQ(set.segments[0].spectra.right.size(), 2 * 8192U);
}

TEST_F(CollectSegments, TheSizesFollowTheConformedRate) {
    const ReferenceSet set = Collect(Take(3 * RATE, 1, 0, {}));

    EXPECT_EQ(set.sampleRate, 1000);
    EXPECT_EQ(set.transformSize, 8192);  // the first power of two from 5000 up
    EXPECT_EQ(set.blockSize, 2000);
}

TEST_F(CollectSegments, ATransformThatFitsExactlyIsNotDoubled) {
    Recording recording = Take(4096, 1, 0, {});
    recording.rate = recording.nativeRate = 1638;  // five seconds are 8190 samples

    EXPECT_EQ(Collect(recording).transformSize, 8192);
}

TEST_F(CollectSegments, OneFrameOverASecondNeedsThePeakFile) {
    const Recording recording = Take(RATE + 1, 1, 0, {});

    const ReferenceSet set =
        CollectReferenceSegments(*rig_.Engine()->Mixer(), rig_.AddWithoutPeaks(recording));

    EXPECT_TRUE(set.segments.empty());
}

TEST_F(CollectSegments, WindowsStepByHalfASecondOfWholeBlocks) {
    // 31 blocks a second, a step of 15 blocks: windows begin at multiples of 480 frames.
    const Recording recording = Take(10 * RATE, 1, 4800, Event(992, 2));

    const ReferenceSet set = Collect(recording);

    ASSERT_FALSE(set.segments.empty());
    EXPECT_EQ(set.segments[0].start, 4800);
    EXPECT_EQ(set.segments[0].length, 1000);
}

TEST_F(CollectSegments, TheLoudestSecondByRmsAndByPeakAreBothChosen) {
    Recording recording = Take(10 * RATE, 1, 4800, Event(992, 2));
    AddAt(recording.samples, 1450, Constant(1, 30000, 30000));

    const ReferenceSet set = Collect(recording);

    // The click is in the windows at 480 (to 1472), 960 and 1440; the first of equal windows wins.
    EXPECT_EQ(PlacesOf(set.segments), (Places{{480, 1000}, {4800, 1000}}));
}

TEST_F(CollectSegments, AWindowAtTheEndOfLessThanASecondIsSilent) {
    const Recording recording = Take(10 * RATE, 1, 9600, Event(400, 2, 30000));

    const ReferenceSet set = Collect(recording);

    ASSERT_FALSE(set.segments.empty());
    const ReferenceSegment& last = set.segments.back();
    EXPECT_EQ(last.start, 9600);
    EXPECT_EQ(last.norms.left, 0.0f);
    EXPECT_TRUE(last.spectra.left.empty());
}

TEST_F(CollectSegments, AnotherNativeRateIsConvertedAndKeptWithinTheRecording) {
    Recording recording = Take(10 * RATE, 1, 9600, Event(400, 2, 30000));
    recording.nativeRate = 2000;
    recording.native = MakeSamples(20000, [&](int frame, int channel) {
        return recording.samples[static_cast<std::size_t>(frame / 2 * 2 + channel)];
    });

    const ReferenceSet set = Collect(recording);

    ASSERT_FALSE(set.segments.empty());
    EXPECT_EQ(set.segments.back().start, 9000);  // 10000 frames less a second
    EXPECT_EQ(set.segments.back().length, 1000);
    EXPECT_GT(set.segments.back().norms.left, 0.01f);
}

TEST_F(CollectSegments, ANativeRateOf0GivesASegmentWithoutLengthAtTheBeginning) {
    Recording recording = Take(3 * RATE, 1, 0, Event(RATE, 2));
    recording.nativeRate = 0;

    const ReferenceSet set = Collect(recording);

    EXPECT_EQ(PlacesOf(set.segments), (Places{{0, 0}}));
    EXPECT_EQ(set.segments[0].norms.left, 0.0f);
}

TEST_F(CollectSegments, SegmentsAreInTheOrderOfTheirStarts) {
    Recording recording = Take(10 * RATE, 1, 2400, Event(992, 2));
    AddAt(recording.samples, 8000, Constant(1, 30000, 30000));

    const ReferenceSet set = Collect(recording);

    ASSERT_EQ(set.segments.size(), 2U);
    EXPECT_LT(set.segments[0].start, set.segments[1].start);
}

TEST_F(CollectSegments, ASilentChannelHasNoSpectrum) {
    Recording recording = Take(3 * RATE, 1, 0, {});
    for (std::size_t i = 1; i < recording.samples.size(); i += 2) recording.samples[i] = 0;

    const ReferenceSet set = Collect(recording);

    ASSERT_FALSE(set.segments.empty());
    EXPECT_FALSE(set.segments[0].spectra.left.empty());
    EXPECT_TRUE(set.segments[0].spectra.right.empty());
}

TEST_F(CollectSegments, ATruncatedPeakFileGivesTheSegmentsOfItsWindows) {
    const Recording recording = Take(10 * RATE, 1, 4800, Event(992, 2));
    auto asset = rig_.AddWithoutPeaks(recording);
    std::string bytes = PeakFileBytes(SummariseBlocks(recording.samples));
    bytes.resize(20 + 5 * 40);  // 40 blocks: one whole window
    WriteFile(rig_.Folder() / "short.xwpk", bytes);
    asset->AudioStream()->SetWaveformPeakFilePath(rig_.Folder().Wide("short.xwpk"));

    const ReferenceSet set = CollectReferenceSegments(*rig_.Engine()->Mixer(), asset);

    EXPECT_EQ(PlacesOf(set.segments), (Places{{0, 1000}}));
}

TEST_F(CollectSegments, EveryRecordingHasTheSegmentsOfTheReference) {
    for (unsigned int seed = 0; seed < 20; ++seed) {
        Recording recording = Take(3000 + 977 * static_cast<int>(seed), seed,
                                   300 * static_cast<int>(seed), Event(1500, seed + 100, 5000));
        AddAt(recording.samples, 211 * static_cast<int>(seed), Constant(2, 20000, -20000));

        const ReferenceSet set = Collect(recording);

        Places expected;
        for (const ReferenceSearchSegment& segment : ReferenceSearchSegments(recording)) {
            expected.emplace_back(segment.start, segment.length);
        }
        ASSERT_EQ(PlacesOf(set.segments), expected) << seed;
    }
}

}  // namespace
}  // namespace sonrel_tests
