// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "host/otio/JsonDocument.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Dissolve;
using sonrel_tests::Gap;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::OnlyClip;
using sonrel_tests::Range;
using sonrel_tests::Stack;
using sonrel_tests::Timeline;
using sonrel_tests::TimeWarp;
using sonrel_tests::Track;
using sonrel_tests::WithOurs;

Json AtSpeed(Json clip, double speed) {
    clip["effects"] = {TimeWarp(speed)};
    return clip;
}

/// Imports at 25 frames a second.
TimelineImport At25(std::vector<Json> children, const RateChoice& rates = {}) {
    ImportOptions options;
    options.rates = rates;
    options.rates.fps = 25.0;
    return Import(Timeline({Track(std::move(children))}), options);
}

int GridOf(std::vector<Json> children) {
    return At25(std::move(children)).arrangement.grid;
}

RateChoice Grid(int factor) {
    RateChoice rates;
    rates.grid = factor;
    return rates;
}

/// The entry for the times that move, or an entry with a count of 0.
ImportReport::Entry Moved(const TimelineImport& import) {
    for (const ImportReport::Entry& entry : import.report.Entries()) {
        if (entry.what == "position") return entry;
    }
    return {};
}

// ---- the smallest grid

TEST(FrameGridChoice, ATimelineInWholeFramesHasTheGrid1) {
    for (const double rate : {12.0, 23.976, 24.0, 25.0, 29.97, 30.0, 50.0, 59.94, 240.0}) {
        std::vector<Json> clips;
        for (int i = 1; i < 40; ++i) clips.push_back(Clip("a", 1000 * i, i, rate));

        const TimelineImport import = Import(Timeline({Track(clips)}), ImportOptions());

        EXPECT_EQ(import.arrangement.grid, 1) << rate;
        EXPECT_EQ(Moved(import).count, 0) << rate;
    }
}

TEST(FrameGridChoice, AnEdgeBetweenFramesDividesTheFrame) {
    EXPECT_EQ(GridOf({Gap(0.5), Clip("a", 0, 10)}), 2);
    EXPECT_EQ(GridOf({Gap(10.0 / 3.0), Clip("a", 0, 10)}), 3);
    EXPECT_EQ(GridOf({Clip("a", 0, 10.25)}), 4);
}

TEST(FrameGridChoice, HalfAMillisecondIsNotCorrected) {
    EXPECT_EQ(GridOf({Gap(0.0405, 1), Clip("a", 0, 1, 1)}), 1);
    EXPECT_GT(GridOf({Gap(0.04051, 1), Clip("a", 0, 1, 1)}), 1);
    EXPECT_EQ(GridOf({Gap(0.0395, 1), Clip("a", 0, 1, 1)}), 1);
    EXPECT_GT(GridOf({Gap(0.03949, 1), Clip("a", 0, 1, 1)}), 1);
}

TEST(FrameGridChoice, AnInPointCountsAtItsSpeed) {
    EXPECT_EQ(GridOf({Clip("a", 0.5, 10)}), 2);
    // At twice the speed, half a frame of the media is a quarter of a frame of the timeline.
    EXPECT_EQ(GridOf({AtSpeed(Clip("a", 0.5, 10), 2.0)}), 4);
    EXPECT_EQ(GridOf({AtSpeed(Clip("a", 0.5, 10), 0.5)}), 1);
}

TEST(FrameGridChoice, TheStartOfTheMediaIsPartOfTheInPoint) {
    Json clip = Clip("a", 100.5, 10);
    clip["media_reference"]["available_range"] = Range(100.5, 50, 25);
    EXPECT_EQ(GridOf({clip}), 1);

    clip["media_reference"]["available_range"] = Range(100, 50, 25);
    EXPECT_EQ(GridOf({clip}), 2);
}

TEST(FrameGridChoice, TheOffsetsOfATransitionOverClipsCount) {
    const auto grid = [](double in, double out) {
        return GridOf({Clip("a", 10, 10), Dissolve(in, out), Clip("b", 10, 10)});
    };
    EXPECT_EQ(grid(2, 2), 1);
    EXPECT_EQ(grid(2.5, 2), 2);
    EXPECT_EQ(grid(2, 10.0 / 3.0), 3);
    // The offset over the gap is not used.
    EXPECT_EQ(GridOf({Gap(10), Dissolve(2.5, 2), Clip("b", 10, 10)}), 1);
}

TEST(FrameGridChoice, TheEndOfTheTimelineCounts) {
    EXPECT_EQ(GridOf({Clip("a", 0, 10), Gap(0.5)}), 2);
}

TEST(FrameGridChoice, NestedItemsShareTheGrid) {
    const Json nested = Stack({Track({Gap(0.25), Clip("a", 0, 9.75)})});

    const TimelineImport import = At25({nested});

    EXPECT_EQ(import.arrangement.grid, 4);
    const PlacedClip item = OnlyClip(import);
    EXPECT_EQ(item.endFrame, 40);
    EXPECT_EQ(item.composition->frameCount, 40);
    EXPECT_EQ(item.composition->tracks.at(0).clips.at(0).startFrame, 1);
}

TEST(FrameGridChoice, ATrimMovesTheEdges) {
    Json track = Track({Clip("a", 0, 10), Clip("b", 0, 10)});
    track["source_range"] = Range(0.5, 19, 25);
    ImportOptions options;
    options.rates.fps = 25.0;

    const auto arrangement = Import(Timeline({track}), options).arrangement;

    EXPECT_EQ(arrangement.grid, 2);
    EXPECT_EQ(arrangement.tracks.at(0).clips.at(0).endFrame, 19);
    EXPECT_EQ(arrangement.tracks.at(0).clips.at(0).sourceStartFrame, 1);
}

/// The largest shift of several times, computed from the definition with another number type.
double LargestShift(const std::vector<double>& seconds, double frameRate) {
    long double largest = 0.0L;
    for (const double time : seconds) {
        const long double frame = std::roundl(static_cast<long double>(time) * frameRate);
        largest = std::max(largest, std::fabs(frame / frameRate - time));
    }
    return static_cast<double>(largest);
}

TEST(FrameGridChoice, FollowsTheDefinitionForRandomTimes) {
    std::mt19937 random(14);
    std::uniform_real_distribution<double> length(0.1, 2.0);
    for (int round = 0; round < 40; ++round) {
        std::vector<double> times{0.0};
        std::vector<Json> clips;
        for (int i = 0; i <= round % 3; ++i) {
            const double seconds = length(random);
            clips.push_back(Clip("a", 0, seconds, 1));
            times.push_back(times.back() + seconds);
        }
        int expected = 1;
        while (expected < 40 && LargestShift(times, 25.0 * expected) > 0.0005) ++expected;

        EXPECT_EQ(GridOf(clips), expected) << round;
    }
}

// ---- the rest

TEST(FrameGridChoice, WithoutAFittingGridTheSmallestLargestShiftIsChosen) {
    // At speed 50 a frame of the grid is 50 frames of the media long: the in-point moves by 50
    // times the distance to the next frame.
    const double inPoint = 12.3456;
    int best = 1;
    double smallest = 1e9;
    for (int k = 1; k <= 40; ++k) {
        const double scaled = LargestShift({inPoint / 50.0}, 25.0 * k) * 50.0;
        if (scaled < smallest - 1e-9) {
            smallest = scaled;
            best = k;
        }
    }
    ASSERT_GT(smallest, 0.0005);

    const TimelineImport import = At25({AtSpeed(Clip("a", inPoint, 25, 1), 50.0)});

    EXPECT_EQ(import.arrangement.grid, best);
    EXPECT_EQ(Moved(import).count, 1);
}

TEST(FrameGridChoice, LargerShiftsAreOneEntryWithTheirCountTheLargestAndItsPlace) {
    // On the frames of 40 ms: 10 ms and 10.6 ms are moved by 10 and 10.6 ms, 0.4 ms by 0.4 ms.
    const TimelineImport import = At25(
        {Clip("a", 0.01, 0.4, 1), Clip("b", 0.0106, 0.4, 1), Clip("c", 0.0004, 0.4, 1)}, Grid(1));

    EXPECT_EQ(Moved(import).count, 2);
    EXPECT_NE(Moved(import).where.find("item 2"), std::string::npos);
    EXPECT_NE(Moved(import).reason.find("10.6 ms"), std::string::npos) << Moved(import).reason;
}

TEST(FrameGridChoice, ARequestedGridIsUsed) {
    EXPECT_EQ(At25({Gap(0.5), Clip("a", 0, 10)}, Grid(40)).arrangement.grid, 40);

    const TimelineImport import = At25({Gap(0.5), Clip("a", 0, 10)}, Grid(1));
    EXPECT_EQ(import.arrangement.grid, 1);
    EXPECT_EQ(OnlyClip(import).startFrame, 1);
    EXPECT_EQ(OnlyClip(import).endFrame, 11);
}

TEST(FrameGridChoice, AGridOfMoreThan1000FramesASecondIsRefused) {
    EXPECT_NO_THROW(At25({Clip("a", 0, 10)}, Grid(40)));
    EXPECT_THROW(At25({Clip("a", 0, 10)}, Grid(41)), RateError);
}

TEST(FrameGridChoice, AFrameOfTheGridHasAtLeastASample) {
    RateChoice rates;
    rates.rate = 100;

    EXPECT_EQ(At25({Gap(0.1289, 1), Clip("a", 0, 10)}, rates).arrangement.grid, 4);
}

TEST(FrameGridChoice, FrameNumbersFitInto32Bits) {
    // 30 days: at most 828 frames a second.
    const double days30 = 30.0 * 86400.0;
    const int grid = GridOf({Gap(days30 + 0.0123, 1), Clip("a", 0, 10)});
    EXPECT_LE(grid, 33);
    EXPECT_GT(grid, 1);
    EXPECT_EQ(GridOf({Gap(30.0 * days30 + 0.0123, 1), Clip("a", 0, 10)}), 1);
}

TEST(FrameGridChoice, ALimitOfTheCallerIsNamedInTheEntry) {
    RateChoice rates;
    rates.gridLimit = [](int rate) { return rate / 480.0; };

    // 100 frames a second: 4 frames of the grid of 10 ms in each frame.
    const TimelineImport import = At25({Gap(0.122, 1), Clip("a", 0, 10)}, rates);

    EXPECT_LE(import.arrangement.grid, 4);
    EXPECT_GT(Moved(import).count, 0);
    EXPECT_NE(Moved(import).reason.find("sound device"), std::string::npos);
    // What fits within the limit is not limited.
    EXPECT_EQ(At25({Gap(0.5), Clip("a", 0, 10)}, rates).arrangement.grid, 2);
    rates.grid = 10;
    EXPECT_EQ(At25({Gap(0.5), Clip("a", 0, 10)}, rates).arrangement.grid, 4);
}

// ---- frames in metadata

TEST(FrameGridChoice, FadesInMetadataAreFramesOfTheTimeline) {
    const Json clip = Clip("a", 0, 10.25);

    const PlacedClip placed = OnlyClip(At25({WithOurs(clip, {{"fadeIn", 2}, {"fadeOut", 1.5}})}));

    EXPECT_EQ(placed.endFrame, 41);
    EXPECT_EQ(placed.fades.inFrames, 8.0);
    EXPECT_EQ(placed.fades.outFrames, 6.0);
}

TEST(FrameGridChoice, KeyFramesInMetadataAreFramesOfTheTimeline) {
    Json clip = Clip("a", 0, 10.25);
    clip["effects"] = Json::parse(R"([{"OTIO_SCHEMA": "Effect.1", "metadata": {"Resolve_OTIO": {
        "Effect Name": "Fairlight Clip Volume and Fades", "Enabled": true,
        "Parameters": [{"Parameter ID": "volume",
                        "Key Frames": {"0": {"Value": -6.0}, "5": {"Value": 0.0}}}]}}}])");

    const PlacedClip placed = OnlyClip(At25({clip}));

    ASSERT_EQ(placed.level.keys.size(), 2u);
    EXPECT_EQ(placed.level.keys.at(1).timeMs, 200);
}

}  // namespace
}  // namespace orlo::host::otio
