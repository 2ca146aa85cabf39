// SPDX-License-Identifier: MIT
#include "host/manifest/UsedRanges.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

using otio::PlacedClip;
using otio::PlacedTrack;

constexpr FrameGrid GRID{48000, 25.0};
constexpr zrtl::FrameRange WHOLE{0, 480000};

PlacedClip ClipOf(const std::string& path, int start, int end, int source, double speed = 1.0) {
    PlacedClip clip;
    clip.media.path = path;
    clip.startFrame = start;
    clip.endFrame = end;
    clip.sourceStartFrame = source;
    clip.speed = speed;
    return clip;
}

PlacedTrack TrackOf(std::vector<PlacedClip> clips) {
    PlacedTrack track;
    track.clips = std::move(clips);
    return track;
}

std::string RangesOf(const std::vector<PlacedTrack>& tracks, const std::string& path,
                     const zrtl::FrameRange& span = WHOLE) {
    return UsedRanges(tracks, GRID, span).Of(path, {}).ToLine();
}

TEST(UsedRanges, OfAClipAreInSecondsOfItsMediaFile) {
    EXPECT_EQ(RangesOf({TrackOf({ClipOf("a", 50, 75, 10)})}, "a"), R"([{"from":0.4,"to":1.4}])");
    // The in-point is divided by the speed: frames 20 to 70 of the file.
    EXPECT_EQ(RangesOf({TrackOf({ClipOf("a", 50, 75, 10, 2.0)})}, "a"),
              R"([{"from":0.8,"to":2.8}])");
    EXPECT_EQ(RangesOf({TrackOf({ClipOf("a", 50, 75, 10)})}, "b"), "[]");
}

TEST(UsedRanges, ThatTouchOrOverlapAreJoinedAndOthersAreInOrder) {
    const std::vector<PlacedTrack> tracks{
        TrackOf({ClipOf("a", 0, 25, 100), ClipOf("a", 25, 50, 25)}),
        TrackOf({ClipOf("a", 0, 25, 0), ClipOf("a", 40, 50, 30)})};

    EXPECT_EQ(RangesOf(tracks, "a"), R"([{"from":0.0,"to":2.0},{"from":4.0,"to":5.0}])");
}

TEST(UsedRanges, EndWithTheRangeOfTheMix) {
    const std::vector<PlacedTrack> tracks{
        TrackOf({ClipOf("a", 0, 50, 0), ClipOf("b", 50, 100, 0)})};

    EXPECT_EQ(RangesOf(tracks, "a", {48000, 72000}), R"([{"from":1.0,"to":1.5}])");
    EXPECT_EQ(RangesOf(tracks, "b", {48000, 96000}), "[]");
}

TEST(UsedRanges, IncludeTheFramesOfTransitions) {
    PlacedTrack track = TrackOf({ClipOf("a", 0, 50, 10), ClipOf("b", 50, 100, 10)});
    otio::PlacedTransition transition;
    transition.from = 0;
    transition.to = 1;
    transition.joinFrame = 50;
    transition.relativeStartFrame = -5;
    transition.length = 15;
    track.transitions = {transition};

    EXPECT_EQ(RangesOf({track}, "a"), R"([{"from":0.4,"to":2.8}])");
    EXPECT_EQ(RangesOf({track}, "b"), R"([{"from":0.2,"to":2.4}])");
}

TEST(UsedRanges, OfNestedClipsAreThoseThatTheNestedItemPlays) {
    PlacedClip nested = ClipOf("", 0, 50, 25);
    nested.composition = std::make_shared<otio::PlacedComposition>();
    nested.composition->frameCount = 60;
    nested.composition->tracks = {TrackOf({ClipOf("a", 0, 40, 0), ClipOf("b", 40, 60, 0)})};

    // The item plays frames 25 to 75 of its content, which has 60.
    EXPECT_EQ(RangesOf({TrackOf({nested})}, "a"), R"([{"from":1.0,"to":1.6}])");
    EXPECT_EQ(RangesOf({TrackOf({nested})}, "b"), R"([{"from":0.0,"to":0.8}])");
}

}  // namespace
}  // namespace orlo::host
