// SPDX-License-Identifier: MIT
#include "host/report/PageLanes.h"

#include <gtest/gtest.h>

#include "tests/host/arrangement/ImportRig.h"

namespace sonrel_tests {
namespace {

using orlo::host::MediaSounds;
using orlo::host::PageClip;
using orlo::host::PageLane;
using orlo::host::PageLanes;
using orlo::host::PageRange;
using orlo::host::otio::TimelineImport;

constexpr orlo::host::FrameGrid GRID_OF_LANES{48000, 25.0};
const MediaSounds NO_SOUNDS;

/// The lanes of a timeline; @p import outlives them.
std::vector<PageLane> LanesOf(const TimelineImport& import, double from = 0.0, double end = 1e9,
                              const MediaSounds& sounds = NO_SOUNDS) {
    PageLanes lanes(PageRange{GRID_OF_LANES, from, end}, sounds);
    lanes.AddTimeline(import);
    return std::move(lanes.Lanes());
}

Json NestedStack(std::vector<Json> tracks, const std::string& name, double start, double duration) {
    return WithRange(Named(Stack(std::move(tracks)), name), start, duration);
}

TEST(PageLanes, AClipIsShownFromItsStartToItsEnd) {
    const auto import =
        Import(Timeline({Track({Gap(25), Named(Clip("a.wav", 10, 50), "x")}, "Voice")}));

    const std::vector<PageLane> lanes = LanesOf(import);

    ASSERT_EQ(lanes.size(), 1u);
    EXPECT_EQ(lanes[0].name, "Voice");
    ASSERT_EQ(lanes[0].clips.size(), 1u);
    const PageClip& clip = lanes[0].clips[0];
    EXPECT_EQ(clip.name, "x");
    EXPECT_DOUBLE_EQ(clip.start, 1.0);
    EXPECT_DOUBLE_EQ(clip.end, 3.0);
    ASSERT_EQ(clip.details.size(), 2u);
    EXPECT_EQ(clip.details[0], "00:00:01:00 to 00:00:03:00");
    EXPECT_EQ(clip.details[1], "from frame 10 of /edit/a.wav");
}

TEST(PageLanes, OnlyTheRangeIsShownAndItsStartIsTheLeftEdge) {
    const auto import = Import(
        Timeline({Track({Clip("a.wav", 0, 25), Clip("a.wav", 0, 50), Clip("a.wav", 0, 25)})}));

    const std::vector<PageLane> lanes = LanesOf(import, 2.0, 3.0);

    ASSERT_EQ(lanes[0].clips.size(), 1u);
    EXPECT_DOUBLE_EQ(lanes[0].clips[0].start, -1.0);
    EXPECT_DOUBLE_EQ(lanes[0].clips[0].end, 1.0);
}

TEST(PageLanes, AClipHasItsStateItsSettingsAndItsFades) {
    const Json settings = {{"audioLevel", -3}, {"muted", true},         {"fadeIn", 5},
                           {"fadeOut", 10},    {"fadeCurve", "linear"}, {"effects", Json::array()}};
    const auto import = Import(Timeline({Track({WithOurs(Clip("a.wav", 0, 50), settings)})}));

    const PageClip clip = LanesOf(import)[0].clips[0];

    EXPECT_TRUE(clip.muted);
    EXPECT_DOUBLE_EQ(clip.fades.inFrames, 0.2);
    EXPECT_DOUBLE_EQ(clip.fades.outFrames, 0.4);
    EXPECT_EQ(clip.fades.curve, "linear");
    ASSERT_EQ(clip.details.size(), 5u);
    EXPECT_EQ(clip.details[2], "muted");
    EXPECT_EQ(clip.details[3], "level -3 dB");
    EXPECT_EQ(clip.details[4], "fade-in of 5 frames, fade-out of 10 frames, linear");
}

TEST(PageLanes, AMissingFileAndAFileWithoutTheSoundAreMarked) {
    const auto import = Import(
        Timeline({Track({Clip("a.wav", 0, 25), Clip("b.wav", 0, 25), Clip("c.wav", 0, 25)})}));
    const MediaSounds sounds{{{"/edit/a.wav", {}}, {0.0, {orlo::host::MISSING_MEDIA_REASON, {}}}},
                             {{"/edit/b.wav", {}}, {0.0, {orlo::host::NO_SOUND_REASON, {}}}},
                             {{"/edit/c.wav", {}}, {1.0, {}}}};

    const auto clips = LanesOf(import, 0.0, 10.0, sounds)[0].clips;

    EXPECT_TRUE(clips[0].missing);
    EXPECT_FALSE(clips[0].soundless);
    EXPECT_EQ(clips[0].details[2], "its media file is missing; it is silent");
    EXPECT_TRUE(clips[1].soundless);
    EXPECT_FALSE(clips[1].missing);
    EXPECT_FALSE(clips[2].missing || clips[2].soundless);
}

TEST(PageLanes, ATransitionCoversItsFrames) {
    const auto import =
        Import(Timeline({Track({Clip("a.wav", 0, 50), Dissolve(5, 10), Clip("b.wav", 20, 50)})}));

    const auto lanes = LanesOf(import);

    ASSERT_EQ(lanes[0].transitions.size(), 1u);
    EXPECT_DOUBLE_EQ(lanes[0].transitions[0].start, 1.8);
    EXPECT_DOUBLE_EQ(lanes[0].transitions[0].end, 2.4);
    EXPECT_EQ(lanes[0].transitions[0].details[1], "cross-fade from 'clip' to 'clip', equal-power");
}

TEST(PageLanes, TheContentOfANestedItemIsAtTheTimesAtWhichItSounds) {
    // The item begins at 2 s with frame 25 of its content: a clip from frame 50 sounds at 3 s.
    const auto import = Import(
        Timeline({Track({Gap(50), NestedStack({Track({Gap(50), Clip("a.wav", 0, 25)}, "Inner")},
                                              "nest", 25, 75)})}));

    const PageClip item = LanesOf(import)[0].clips[0];

    EXPECT_TRUE(item.isNested);
    EXPECT_DOUBLE_EQ(item.start, 2.0);
    EXPECT_DOUBLE_EQ(item.end, 5.0);
    ASSERT_EQ(item.lanes.size(), 1u);
    ASSERT_EQ(item.lanes[0].clips.size(), 1u);
    EXPECT_DOUBLE_EQ(item.lanes[0].clips[0].start, 3.0);
    EXPECT_DOUBLE_EQ(item.lanes[0].clips[0].end, 4.0);
}

TEST(PageLanes, ATrackThatIsNotHeardIsMarkedWithItsReason) {
    const Json clip = Clip("a.wav", 0, 25);
    const auto import =
        Import(Timeline({WithOurs(Track({clip}, "Muted"), {{"muted", true}}),
                         WithOurs(Track({clip}, "Solo"), {{"solo", true}}), Track({clip}, "Other"),
                         Track({clip, clip}, "Picture", "Video")}));

    const auto lanes = LanesOf(import);

    ASSERT_EQ(lanes.size(), 4u);
    using Marks = std::vector<std::string>;
    EXPECT_EQ(lanes[0].marks, (Marks{"muted"}));
    EXPECT_EQ(lanes[1].marks, (Marks{"solo"}));
    EXPECT_EQ(lanes[2].marks, (Marks{"silent: others are solo"}));
    EXPECT_EQ(lanes[3].marks, (Marks{"video", "not heard", "2 clips"}));
    EXPECT_TRUE(lanes[3].clips.empty());
    EXPECT_TRUE(lanes[0].silent && !lanes[1].silent && lanes[2].silent && lanes[3].silent);
}

TEST(PageLanes, APlaceLeadsToItsElementElseToTheTrackAroundIt) {
    const auto import = Import(Timeline({Track({Named(Clip("a.wav", 0, 25), "x, y")}, "A")}));
    PageLanes lanes(PageRange{GRID_OF_LANES, 0.0, 10.0}, NO_SOUNDS);
    lanes.AddTimeline(import);
    const PageLane& lane = lanes.Lanes()[0];

    EXPECT_EQ(lanes.ElementOf({"track 1 'A'", "item 1 'x, y'"}), lane.clips[0].id);
    EXPECT_EQ(lanes.ElementOf({"track 1 'A'", "item 2 'left, out'"}), lane.id);
    EXPECT_EQ(lanes.ElementOf({"track 1 'A'", ""}), lane.id);
    EXPECT_EQ(lanes.ElementOf({"track 2 'B'", "item 1"}), "");
    EXPECT_NE(lane.id, lane.clips[0].id);
}

TEST(PageLanes, ANestedItemCanBeShownAlone) {
    const auto import = Import(Timeline(
        {Track({Gap(50), NestedStack({Track({Clip("a.wav", 0, 25)}, "Inner")}, "nest", 0, 25)})}));
    PageLanes lanes(PageRange{GRID_OF_LANES, 0.0, 1.0}, NO_SOUNDS);

    lanes.AddNested(import.arrangement.tracks[0].clips[0]);

    ASSERT_EQ(lanes.Lanes().size(), 1u);
    EXPECT_EQ(lanes.Lanes()[0].name, "Inner");
    EXPECT_DOUBLE_EQ(lanes.Lanes()[0].clips.at(0).start, 0.0);
}

}  // namespace
}  // namespace sonrel_tests
