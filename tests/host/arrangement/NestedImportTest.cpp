// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/arrangement/TimelineImport.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Dissolve;
using sonrel_tests::Gap;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::Named;
using sonrel_tests::OnlyClip;
using sonrel_tests::Reported;
using sonrel_tests::Stack;
using sonrel_tests::Timeline;
using sonrel_tests::TimeWarp;
using sonrel_tests::Track;
using sonrel_tests::WithOurs;
using sonrel_tests::WithRange;

TimelineImport ImportItems(std::vector<Json> items) {
    return Import(Timeline({Track(std::move(items))}));
}

const PlacedComposition& OnlyComposition(const TimelineImport& import) {
    return *import.arrangement.tracks.at(0).clips.at(0).composition;
}

TEST(NestedItem, AStackBecomesAnObjectThatShowsItsTracks) {
    const TimelineImport import = ImportItems(
        {Stack({Track({Gap(10), Clip("a", 3, 20)}, "in1"), Track({Clip("b", 0, 50)}, "in2")})});

    const PlacedClip item = OnlyClip(import);
    EXPECT_EQ(item.startFrame, 0);
    EXPECT_EQ(item.endFrame, 50);
    EXPECT_EQ(item.sourceStartFrame, 0);
    const PlacedComposition& inside = OnlyComposition(import);
    EXPECT_EQ(inside.frameCount, 50);
    ASSERT_EQ(inside.tracks.size(), 2u);
    EXPECT_EQ(inside.tracks[0].clips.at(0).startFrame, 10);
    EXPECT_EQ(inside.tracks[0].clips.at(0).endFrame, 30);
    EXPECT_EQ(inside.tracks[0].clips.at(0).sourceStartFrame, 3);
    EXPECT_EQ(inside.tracks[1].clips.at(0).media.path, "/edit/b");
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(NestedItem, ATrackIsTreatedAsAStackWithThatTrack) {
    const TimelineImport import = ImportItems({Track({Clip("a", 0, 20), Clip("b", 0, 30)}, "sub")});

    EXPECT_EQ(OnlyClip(import).endFrame, 50);
    ASSERT_EQ(OnlyComposition(import).tracks.size(), 1u);
    EXPECT_EQ(OnlyComposition(import).tracks[0].clips.at(1).startFrame, 20);
}

TEST(NestedItem, ATrackWithoutAKindHasTheKindOfTheTrackThatContainsIt) {
    Json track = Track({Clip("a", 0, 20)});
    track.erase("kind");

    EXPECT_EQ(OnlyComposition(ImportItems({track})).tracks.size(), 1u);
}

TEST(NestedItem, IsAsLongAsItsLongestTrack) {
    const TimelineImport import =
        ImportItems({Stack({Track({Gap(4), Gap(5)}), Track({Gap(7)})}), Clip("a", 0, 5)});

    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(1).startFrame, 9);
    EXPECT_EQ(import.arrangement.frameCount, 14);
}

TEST(NestedItem, ItsRangeSetsItsLengthAndItsInPoint) {
    const TimelineImport import =
        ImportItems({WithRange(Track({Clip("a", 0, 40)}), 3, 20), Clip("b", 0, 5)});

    EXPECT_EQ(OnlyClip(import).endFrame, 20);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 3);
    EXPECT_EQ(OnlyComposition(import).frameCount, 40);
    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(1).startFrame, 20);
}

TEST(NestedItem, ItsInPointIsDividedByItsSpeed) {
    Json stack = WithRange(Stack({Track({Clip("a", 0, 200)})}), 30, 20);
    stack["effects"] = std::vector<Json>{TimeWarp(1.5)};

    EXPECT_EQ(OnlyClip(ImportItems({stack})).speed, 1.5);
    EXPECT_EQ(OnlyClip(ImportItems({stack})).sourceStartFrame, 20);
}

TEST(NestedItem, IsSilentBeforeItsContent) {
    const TimelineImport import =
        ImportItems({WithRange(Stack({Track({Clip("a", 0, 200)})}), -5, 20)});

    EXPECT_EQ(OnlyClip(import).startFrame, 5);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 0);
    EXPECT_EQ(OnlyClip(import).framesBeforeMedia, 5);
}

TEST(NestedItem, LevelMuteFadesAndEffectsApplyToTheObjectThatShowsIt) {
    const Json stack =
        WithOurs(Stack({Track({Clip("a", 0, 20)})}),
                 {{"audioLevel", -6},
                  {"muted", true},
                  {"fadeIn", 3},
                  {"effects", {{{"plugin", "gain"}, {"parameters", {{"gainDb", 2}}}}}}});

    const PlacedClip item = OnlyClip(ImportItems({stack}));

    EXPECT_EQ(item.level.decibels, -6.0f);
    EXPECT_TRUE(item.muted);
    EXPECT_EQ(item.fades.inFrames, 3.0);
    EXPECT_EQ(item.effects.at(0).plugin, "gain");
    EXPECT_TRUE(OnlyComposition(ImportItems({stack})).tracks.at(0).clips.at(0).effects.empty());
}

TEST(NestedItem, IsMutedWhenDisabled) {
    Json stack = Stack({Track({Clip("a", 0, 20)})});
    stack["enabled"] = false;

    EXPECT_TRUE(OnlyClip(ImportItems({stack})).muted);
}

TEST(NestedItem, TheMuteOfAnInnerTrackIsKept) {
    Json disabled = Track({Clip("a", 0, 20)});
    disabled["enabled"] = false;

    const TimelineImport import = ImportItems({Stack({disabled, Track({Clip("b", 0, 20)})})});

    EXPECT_TRUE(OnlyComposition(import).tracks.at(0).muted);
    EXPECT_FALSE(OnlyComposition(import).tracks.at(1).muted);
}

TEST(NestedItem, InnerLevelBalanceSoloAndTransitionsAreListed) {
    const Json inner = WithOurs(Track({Clip("a", 0, 20), Dissolve(2, 2), Clip("b", 5, 20)}),
                                {{"audioLevel", -3}, {"stereoBalance", 0.5}, {"solo", true}});

    const TimelineImport import = ImportItems({Stack({inner})});

    const PlacedTrack& track = OnlyComposition(import).tracks.at(0);
    EXPECT_FALSE(track.level.decibels);
    EXPECT_FALSE(track.stereoBalance);
    EXPECT_FALSE(track.solo);
    EXPECT_TRUE(track.transitions.empty());
    for (const char* what : {"audioLevel", "stereoBalance", "solo", "transition"}) {
        EXPECT_EQ(Reported(import, what, "inside a nested item"), 1) << what;
    }
}

TEST(NestedItem, AnInnerVideoTrackIsListedAndItsLengthCounts) {
    const TimelineImport import =
        ImportItems({Stack({Track({Clip("v", 0, 60)}, "V", "Video"), Track({Clip("a", 0, 20)})}),
                     Clip("b", 0, 5)});

    EXPECT_EQ(Reported(import, "video track"), 1);
    ASSERT_EQ(OnlyComposition(import).tracks.size(), 1u);
    EXPECT_EQ(OnlyComposition(import).frameCount, 20);
    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(1).startFrame, 60);
}

TEST(NestedItem, AClipInAStackBecomesASeparateTrack) {
    const TimelineImport import = ImportItems({Stack({Clip("a", 0, 20), Clip("b", 0, 30)})});

    ASSERT_EQ(OnlyComposition(import).tracks.size(), 2u);
    EXPECT_EQ(OnlyComposition(import).tracks[1].clips.at(0).startFrame, 0);
}

TEST(NestedItem, MayContainNestedItems) {
    const Json deep = Stack({Track({Named(Stack({Track({Clip("a", 1, 20)})}), "deep")})});

    const TimelineImport import = ImportItems({deep});

    const PlacedClip& inner = OnlyComposition(import).tracks.at(0).clips.at(0);
    EXPECT_EQ(inner.name, "deep");
    EXPECT_EQ(inner.composition->tracks.at(0).clips.at(0).sourceStartFrame, 1);
}

TEST(NestedItem, InTheTopStackBecomesASeparateTrack) {
    const TimelineImport import =
        Import(Timeline({Track({Clip("a", 0, 20)}), Stack({Track({Clip("b", 0, 30)})})}));

    ASSERT_EQ(import.arrangement.tracks.size(), 2u);
    EXPECT_EQ(import.arrangement.tracks[1].clips.at(0).composition->frameCount, 30);
}

TEST(NestedItem, AChangedInnerClipIsListedOnceWithItsPlace) {
    const TimelineImport import =
        ImportItems({Named(Stack({Track({Clip("a", 0, 20), Clip("b", 0, -7)}, "inner")}), "sub")});

    ASSERT_EQ(import.report.Entries().size(), 2u);
    EXPECT_EQ(import.report.Entries()[0].what, "negative duration");
    EXPECT_EQ(import.report.Entries()[0].count, 1);
    EXPECT_EQ(import.report.Entries()[0].where,
              "track 1 'A1', item 1 'sub', track 1 'inner', item 2 'clip'");
}

TEST(NestedItem, AReferenceToAnotherObjectIsListedAndItsTimeIsSilent) {
    // A reference may point to an object that contains it.
    Json stack = Stack({Track({Clip("a", 0, 20)})});
    stack["OTIO_REF_ID"] = "Stack-1";
    stack["children"][0]["children"].push_back(
        {{"OTIO_SCHEMA", "SerializableObjectRef.1"}, {"id", "Stack-1"}});

    const TimelineImport import = ImportItems({stack});

    EXPECT_EQ(OnlyComposition(import).tracks.at(0).clips.size(), 1u);
    EXPECT_EQ(Reported(import, "unknown 'SerializableObjectRef'"), 1);
}

TEST(NestedItem, FourHundredLevelsAreRead) {
    Json item = Clip("a", 0, 20);
    for (int level = 0; level < 400; ++level) item = Stack({item});

    const TimelineImport import = ImportItems({item});

    const PlacedClip* deepest = &import.arrangement.tracks.at(0).clips.at(0);
    int levels = 0;
    for (; deepest->composition != nullptr; ++levels) {
        deepest = &deepest->composition->tracks.at(0).clips.at(0);
    }
    EXPECT_EQ(levels, 400);
    EXPECT_EQ(deepest->media.path, "/edit/a");
}

TEST(NestedItem, LongNamesAreShortenedInTheReport) {
    Json item = Clip("a", 0, -1);
    const std::string name(100000, 'n');
    for (int level = 0; level < 20; ++level) item = Named(Stack({Track({item}, name)}), name);

    const TimelineImport import = ImportItems({item});

    for (const ImportReport::Entry& entry : import.report.Entries()) {
        EXPECT_LT(entry.where.size(), 500u);
    }
}

TEST(NestedItem, AShortenedPlaceIsValidUtf8) {
    Json item = Clip("a", 0, -1);
    for (int level = 0; level < 60; ++level) {
        // Two and three bytes a character, so that the cut is once at each byte of a character.
        item = Named(Stack({item}), "\u00fc\u20ac\u20ac\u00e9" + std::string(level % 7, 'x'));
    }

    for (const ImportReport::Entry& entry : ImportItems({item}).report.Entries()) {
        EXPECT_NO_THROW(Json(entry.where).dump());
    }
}

TEST(FindNested, ReturnsTheOuterOfTwoItemsWithTheSameName) {
    const Json inner = Named(Stack({Track({Clip("a", 0, 20)})}), "twice");
    const TimelineImport import = ImportItems({Named(Stack({Track({inner})}), "outer"),
                                               Named(Stack({Track({Clip("b", 0, 7)})}), "twice")});

    EXPECT_EQ(FindNested(import.arrangement.tracks, "twice")->composition->frameCount, 7);
    EXPECT_EQ(FindNested(import.arrangement.tracks, "outer")->composition->frameCount, 20);
    EXPECT_EQ(FindNested(import.arrangement.tracks, "clip"), nullptr);
}

TEST(Retime, OtioDurationsAreTheTimeOnTheTrack) {
    Json clip = Clip("a", 30, 60);
    clip["effects"] = std::vector<Json>{TimeWarp(2.0)};

    const TimelineImport import = ImportItems({clip, Clip("b", 0, 10)});

    EXPECT_EQ(OnlyClip(import).endFrame, 60);
    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(1).startFrame, 60);
}

TEST(Retime, MediaDurationsAreDividedByTheSpeed) {
    Json clip = Clip("a", 30, 60);
    clip["effects"] = std::vector<Json>{TimeWarp(2.0)};
    ImportOptions options;
    options.retime = Retime::Media;

    const TimelineImport import = Import(Timeline({Track({clip, Clip("b", 0, 10)})}), options);

    // 60 frames of the media at double speed take 30; the in-point does not change.
    EXPECT_EQ(OnlyClip(import).endFrame, 30);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 15);
    EXPECT_EQ(OnlyClip(import).speed, 2.0);
    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(1).startFrame, 30);
}

TEST(Retime, MediaDurationsOfNestedItemsAreDividedByTheSpeed) {
    Json stack = Stack({Track({Clip("a", 0, 60)})});
    stack["effects"] = std::vector<Json>{TimeWarp(0.5)};
    ImportOptions options;
    options.retime = Retime::Media;

    const TimelineImport import = Import(Timeline({Track({stack})}), options);

    EXPECT_EQ(OnlyClip(import).endFrame, 120);
    EXPECT_EQ(OnlyComposition(import).frameCount, 60);
}

TEST(Retime, AReversedClipTakesTheTimeOfTheAbsoluteSpeed) {
    Json clip = Clip("a", 30, 60);
    clip["effects"] = std::vector<Json>{TimeWarp(-2.0)};
    ImportOptions options;
    options.retime = Retime::Media;

    EXPECT_EQ(OnlyClip(Import(Timeline({Track({clip})}), options)).endFrame, 30);
}

TEST(Retime, ASpeedOutOfRangeDoesNotChangeTheLength) {
    for (const double speed : {0.0, 1e-300, 1e300}) {
        Json clip = Clip("a", 30, 60);
        clip["effects"] = std::vector<Json>{TimeWarp(speed)};
        ImportOptions options;
        options.retime = Retime::Media;

        EXPECT_EQ(OnlyClip(Import(Timeline({Track({clip})}), options)).endFrame, 60);
    }
}

}  // namespace
}  // namespace orlo::host::otio
