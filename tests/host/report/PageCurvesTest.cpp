// SPDX-License-Identifier: MIT
#include "host/report/PageCurves.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

constexpr FrameGrid GRID_OF_CURVES{48000, 25.0};

MeterBlocks BlocksOfPeaks(const std::vector<float>& peaks) {
    return {peaks.size(), [peaks](unsigned long long index) {
                return sonrel::AudioMetrics{{}, {4800, {peaks[index], 0.0f}, {}}};
            }};
}

TEST(PageCurves, APointIsTheLevelOfABlock) {
    const PageCurves curves =
        MasterCurves(BlocksOfPeaks({1.0f, 0.1f, 0.0f}), {{{}, {}}, {{}, -20.0}, {{}, -30.0}}, 0.1);

    EXPECT_EQ(curves.step, 0.1);
    ASSERT_EQ(curves.peaks.size(), 3u);
    EXPECT_EQ(curves.peaks[0], 0.0);
    EXPECT_NEAR(*curves.peaks[1], -20.0, 1e-6);
    EXPECT_FALSE(curves.peaks[2]);
    EXPECT_FALSE(curves.shortTerm[0]);
    EXPECT_EQ(curves.shortTerm[2], -30.0);
}

TEST(PageCurves, NeighboursShareAPointWithTheirHighestLevelWhenThereAreTooMany) {
    std::vector<float> peaks(MAX_CURVE_POINTS + 1, 0.0f);
    peaks[1] = 1.0f;
    std::vector<LoudnessReading> readings(peaks.size());
    readings[2].shortTerm = -30.0;
    readings[3].shortTerm = -20.0;

    const PageCurves curves = MasterCurves(BlocksOfPeaks(peaks), readings, 0.1);

    EXPECT_EQ(curves.step, 0.2);
    ASSERT_EQ(curves.peaks.size(), MAX_CURVE_POINTS / 2 + 1u);
    EXPECT_EQ(curves.peaks[0], 0.0);
    EXPECT_FALSE(curves.peaks[1]);
    EXPECT_EQ(curves.shortTerm[1], -20.0);
}

TEST(PageCurves, NoBlocksAreNoPoints) {
    EXPECT_TRUE(MasterCurves(BlocksOfPeaks({}), {}, 0.1).peaks.empty());
}

TEST(ClipMarks, AreTheStretchesInWhichTheMasterClips) {
    SignalSummary master;
    master.clips = {{{48000, 52800}, {true, false}}, {{96000, 105600}, {true, true}}};

    const std::vector<PageClipMark> marks = ClipMarks(master, GRID_OF_CURVES, 0.5, 10.0);

    ASSERT_EQ(marks.size(), 2u);
    EXPECT_DOUBLE_EQ(marks[0].start, 0.5);
    EXPECT_DOUBLE_EQ(marks[0].end, 0.6);
    EXPECT_EQ(marks[0].text, "clips from 00:00:01:00 to 00:00:01:02, left");
    EXPECT_EQ(marks[1].text, "clips from 00:00:02:00 to 00:00:02:05, both");
}

TEST(ClipMarks, NeighboursShareAMarkWhenThereAreTooMany) {
    SignalSummary master;
    // 2000 stretches of 0.1 s, one in each second: a mark for 2 s.
    for (long long i = 0; i < 2LL * MAX_CLIP_MARKS; ++i) {
        master.clips.push_back({{i * 48000, i * 48000 + 4800}, {false, true}});
    }

    const auto marks = ClipMarks(master, GRID_OF_CURVES, 0.0, 2.0 * MAX_CLIP_MARKS);

    EXPECT_LE(marks.size(), static_cast<std::size_t>(MAX_CLIP_MARKS));
    EXPECT_EQ(marks.front().start, 0.0);
    EXPECT_DOUBLE_EQ(marks.back().end, 2.0 * MAX_CLIP_MARKS - 0.9);
    EXPECT_TRUE(marks.front().text.starts_with("clips at ")) << marks.front().text;
}

}  // namespace
}  // namespace orlo::host
