// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/arrangement/TimelineImport.h"
#include "host/otio/JsonDocument.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Dissolve;
using sonrel_tests::Gap;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::Reported;
using sonrel_tests::Stack;
using sonrel_tests::Time;
using sonrel_tests::Timeline;
using sonrel_tests::TimeWarp;
using sonrel_tests::Track;
using sonrel_tests::WithOurs;

TimelineImport ImportItems(std::vector<Json> items) {
    return Import(Timeline({Track(std::move(items))}));
}

const std::vector<PlacedTransition>& Transitions(const TimelineImport& import) {
    return import.arrangement.tracks.at(0).transitions;
}

TEST(TransitionImport, CoversBothNeighboursFromMinusInForInPlusOutFrames) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(7, 5), Clip("b", 50, 100)});

    ASSERT_EQ(Transitions(import).size(), 1u);
    const PlacedTransition& transition = Transitions(import)[0];
    EXPECT_EQ(transition.from, 0u);
    EXPECT_EQ(transition.to, 1u);
    EXPECT_EQ(transition.joinFrame, 100);
    EXPECT_EQ(transition.relativeStartFrame, -7);
    EXPECT_EQ(transition.length, 12);
    EXPECT_EQ(transition.curve, "equal-power");
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(TransitionImport, TakesNoTime) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 10), Dissolve(5, 5), Clip("b", 50, 10)});

    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(1).startFrame, 10);
    EXPECT_EQ(import.arrangement.frameCount, 20);
}

TEST(TransitionImport, EachOffsetIsRoundedSeparately) {
    // At 25 frames a second 3 and 4 values of 60 are 1.25 and 1.67 frames; their sum is 2.92.
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(3, 4, 60), Clip("b", 50, 100)});

    EXPECT_EQ(Transitions(import).at(0).relativeStartFrame, -1);
    EXPECT_EQ(Transitions(import).at(0).length, 3);
}

TEST(TransitionImport, BeforeAGapItFadesOutOnTheFramesOfTheClip) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(10, 0), Gap(50), Clip("b", 0, 10)});

    const PlacedTransition& transition = Transitions(import).at(0);
    EXPECT_EQ(transition.from, 0u);
    EXPECT_FALSE(transition.to);
    EXPECT_EQ(transition.relativeStartFrame, -10);
    EXPECT_EQ(transition.length, 10);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(TransitionImport, AfterAGapItFadesInOnTheFramesOfTheClip) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 10), Gap(50), Dissolve(0, 8), Clip("b", 0, 100)});

    const PlacedTransition& transition = Transitions(import).at(0);
    EXPECT_FALSE(transition.from);
    EXPECT_EQ(transition.to, 1u);
    EXPECT_EQ(transition.joinFrame, 60);
    EXPECT_EQ(transition.relativeStartFrame, 0);
    EXPECT_EQ(transition.length, 8);
}

TEST(TransitionImport, AtTheBeginningAndEndOfATrackItFadesFromAndToSilence) {
    const TimelineImport import = ImportItems({Dissolve(0, 5), Clip("a", 0, 100), Dissolve(6, 0)});

    ASSERT_EQ(Transitions(import).size(), 2u);
    EXPECT_FALSE(Transitions(import)[0].from);
    EXPECT_EQ(Transitions(import)[0].joinFrame, 0);
    EXPECT_EQ(Transitions(import)[0].length, 5);
    EXPECT_FALSE(Transitions(import)[1].to);
    EXPECT_EQ(Transitions(import)[1].joinFrame, 100);
    EXPECT_EQ(Transitions(import)[1].relativeStartFrame, -6);
    EXPECT_EQ(Transitions(import)[1].length, 6);
}

TEST(TransitionImport, ThePartInAGapIsListed) {
    const TimelineImport import = ImportItems({Clip("a", 0, 100), Dissolve(10, 10), Gap(50)});

    EXPECT_EQ(Transitions(import).at(0).length, 10);
    EXPECT_EQ(Reported(import, "transition", "frames of the clip only"), 1);
}

TEST(TransitionImport, EntirelyInAGapIsLeftOutAndListed) {
    const TimelineImport import = ImportItems({Clip("a", 0, 100), Dissolve(0, 10), Gap(50)});

    EXPECT_TRUE(Transitions(import).empty());
    EXPECT_EQ(Reported(import, "transition", "does not cover a frame"), 1);
}

TEST(TransitionImport, BetweenTwoGapsIsLeftOutAndListed) {
    const TimelineImport import = ImportItems({Gap(10), Dissolve(5, 5), Gap(10)});

    EXPECT_TRUE(Transitions(import).empty());
    EXPECT_EQ(Reported(import, "transition", "no clip begins or ends"), 1);
}

TEST(TransitionImport, AClipWithoutAMediaFileCountsAsSilence) {
    Json offline = Clip("b", 0, 100);
    offline["media_reference"] = {{"OTIO_SCHEMA", "MissingReference.1"}};

    const TimelineImport import = ImportItems({Clip("a", 0, 100), Dissolve(4, 0), offline});

    EXPECT_FALSE(Transitions(import).at(0).to);
}

TEST(TransitionImport, JoinsClipsAndNestedItems) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(4, 4), Stack({Track({Clip("b", 0, 50)})}),
                     Dissolve(2, 2), Clip("c", 10, 100)});

    ASSERT_EQ(Transitions(import).size(), 2u);
    EXPECT_EQ(Transitions(import)[0].to, 1u);
    EXPECT_EQ(Transitions(import)[1].from, 1u);
}

TEST(TransitionImport, NextToADisabledClipItIsACutAndListed) {
    Json disabled = Clip("b", 10, 100);
    disabled["enabled"] = false;

    const TimelineImport import = ImportItems(
        {Clip("a", 0, 100), Dissolve(4, 4), disabled, Dissolve(4, 4), Clip("c", 10, 100)});

    EXPECT_TRUE(Transitions(import).empty());
    EXPECT_EQ(Reported(import, "transition", "disabled"), 2);
}

TEST(TransitionImport, NextToAClipThatSonrelMetadataMutesItIsKept) {
    const TimelineImport import = ImportItems(
        {Clip("a", 0, 100), Dissolve(4, 4), WithOurs(Clip("b", 10, 100), {{"muted", true}})});

    EXPECT_EQ(Transitions(import).size(), 1u);
    EXPECT_TRUE(import.arrangement.tracks.at(0).clips.at(1).muted);
}

TEST(TransitionImport, NextToAClipThatCannotBeRenderedItIsACut) {
    // A muted neighbour sounds through a transition, and the reversed clip would run forwards.
    Json reversed = Clip("b", 10, 100);
    reversed["effects"] = std::vector<Json>{TimeWarp(-1.0)};

    const TimelineImport import = ImportItems({Clip("a", 0, 100), Dissolve(4, 4), reversed});

    EXPECT_TRUE(Transitions(import).empty());
    EXPECT_EQ(Reported(import, "transition", "cannot be rendered"), 1);
}

TEST(TransitionImport, SonrelMetadataSetsTheCurve) {
    for (const std::string curve : {"linear", "equal-power", "db"}) {
        const TimelineImport import = ImportItems(
            {Clip("a", 0, 100), WithOurs(Dissolve(4, 4), {{"curve", curve}}), Clip("b", 10, 100)});

        EXPECT_EQ(Transitions(import).at(0).curve, curve);
        EXPECT_TRUE(import.report.Entries().empty());
    }
}

TEST(TransitionImport, AnUnknownCurveIsListedAndEqualPowerUsed) {
    for (const Json& curve : {Json("cubic"), Json(1), Json(nullptr)}) {
        const TimelineImport import = ImportItems(
            {Clip("a", 0, 100), WithOurs(Dissolve(4, 4), {{"curve", curve}}), Clip("b", 10, 100)});

        EXPECT_EQ(Transitions(import).at(0).curve, "equal-power");
        EXPECT_EQ(Reported(import, "curve", "equal-power is used"), 1);
    }
}

TEST(TransitionImport, OfAnotherTypeIsACrossFadeAndListed) {
    Json wipe = Dissolve(4, 4);
    wipe["transition_type"] = "Custom_Transition";

    const TimelineImport import = ImportItems({Clip("a", 0, 100), wipe, Clip("b", 10, 100)});

    EXPECT_EQ(Transitions(import).size(), 1u);
    EXPECT_EQ(Reported(import, "transition", "'Custom_Transition'"), 1);
}

TEST(TransitionImport, OfTwoInARowTheFirstIsUsedAndTheSecondListed) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(4, 4), Dissolve(9, 9), Clip("b", 10, 100)});

    ASSERT_EQ(Transitions(import).size(), 1u);
    EXPECT_EQ(Transitions(import)[0].length, 8);
    EXPECT_EQ(Reported(import, "transition", "follows another"), 1);
}

TEST(TransitionImport, ThatBeginsBeforeThePreviousTransitionHasEndedIsListed) {
    const auto overlaps = [](double in) {
        return Reported(ImportItems({Clip("a", 0, 100), Dissolve(4, 6), Clip("b", 10, 10),
                                     Dissolve(in, 4), Clip("c", 10, 100)}),
                        "transition", "before the previous transition has ended");
    };

    // The first transition ends at frame 106, and the second begins at 110 minus its offset.
    EXPECT_EQ(overlaps(4), 0);
    EXPECT_EQ(overlaps(5), 1);
}

TEST(TransitionImport, LongerThanAClipItIsListedWithWhatIsHeard) {
    const auto reported = [](double in, double out, const char* words) {
        return Reported(ImportItems({Clip("a", 0, 10), Dissolve(in, out), Clip("b", 50, 12)}),
                        "transition", words);
    };
    const char* before =
        "it is longer than the clip before it: the fade starts in its middle, at "
        "the beginning of that clip; shorten it or lengthen the clip";
    const char* after =
        "it is longer than the clip after it: the fade stops before it is "
        "complete, at the end of that clip; shorten it or lengthen the clip";

    EXPECT_EQ(reported(10, 12, "longer"), 0);
    EXPECT_EQ(reported(11, 12, before), 1);
    EXPECT_EQ(reported(11, 12, after), 0);
    EXPECT_EQ(reported(10, 13, before), 0);
    EXPECT_EQ(reported(10, 13, after), 1);
}

TEST(TransitionImport, LongerThanTheOnlyClipItIsListed) {
    EXPECT_EQ(Reported(ImportItems({Clip("a", 0, 10), Dissolve(11, 0), Gap(5)}), "transition",
                       "longer than the clip before it"),
              1);
    EXPECT_EQ(Reported(ImportItems({Dissolve(0, 11), Clip("a", 0, 10)}), "transition",
                       "longer than the clip after it"),
              1);
}

TEST(TransitionImport, AsLongAsAClipWithRoundedEdgesItIsNotListed) {
    // From 0.6 to 10.4 are 9.8 frames: frames 1 to 10 of the grid.
    EXPECT_EQ(Reported(ImportItems({Gap(0.6), Clip("a", 0, 9.8), Dissolve(9.8, 0), Gap(5)}),
                       "transition", "longer"),
              0);
}

TEST(TransitionImport, ShorterThanAFrameItIsACutAndListed) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(0.4, 0.4), Clip("b", 10, 100)});

    EXPECT_TRUE(Transitions(import).empty());
    EXPECT_EQ(Reported(import, "transition", "does not cover a frame"), 1);
}

TEST(TransitionImport, NegativeOffsetsCountAsZeroAndAreListed) {
    const TimelineImport import =
        ImportItems({Clip("a", 0, 100), Dissolve(-5, 3), Clip("b", 10, 100)});

    EXPECT_EQ(Transitions(import).at(0).relativeStartFrame, 0);
    EXPECT_EQ(Transitions(import).at(0).length, 3);
    EXPECT_EQ(Reported(import, "transition", "negative offset"), 1);
}

TEST(TransitionImport, AnEnormousOffsetIsACutAndListed) {
    for (const double enormous : {1e9, 1e18, 1e300}) {
        const TimelineImport import =
            ImportItems({Clip("a", 0, 100), Dissolve(enormous, 3), Clip("b", 10, 100)});

        EXPECT_TRUE(Transitions(import).empty());
        EXPECT_EQ(Reported(import, "transition", "out of range"), 1);
    }
}

TEST(TransitionImport, ItsSamplesFitInto32Bits) {
    // At 1920 samples a frame 2147483647 samples are 1118481.07 frames.
    EXPECT_EQ(
        Transitions(ImportItems({Clip("a", 0, 100), Dissolve(1118481, 0), Clip("b", 10, 100)}))
            .size(),
        1u);
    EXPECT_EQ(
        Transitions(ImportItems({Clip("a", 0, 100), Dissolve(1118482, 0), Clip("b", 10, 100)}))
            .size(),
        0u);
}

TEST(TransitionImport, AnOffsetThatIsNotANumberCountsAsZero) {
    Json transition = Dissolve(5, 5);
    transition["in_offset"]["value"] = nullptr;

    const TimelineImport import = ImportItems({Clip("a", 0, 100), transition, Clip("b", 9, 100)});

    EXPECT_EQ(Transitions(import).at(0).length, 5);
    EXPECT_EQ(Reported(import, "in_offset"), 1);
}

TEST(TransitionImport, AnOffsetThatIsAListIsRefusedWithItsPlace) {
    Json transition = Dissolve(5, 5);
    transition["in_offset"] = Json::array();

    EXPECT_THROW(ImportItems({Clip("a", 0, 100), transition, Clip("b", 9, 100)}), DocumentError);
}

TEST(TransitionImport, ATrimThatRemovesANeighbourMakesItAFade) {
    Json track = Track({Clip("a", 0, 100), Dissolve(4, 4), Clip("b", 10, 100)});
    track["source_range"] = sonrel_tests::Range(0, 100, 25);

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_EQ(Transitions(import).at(0).from, 0u);
    EXPECT_FALSE(Transitions(import).at(0).to);
    EXPECT_EQ(Transitions(import).at(0).length, 4);
}

TEST(TransitionImport, ATrimThatRemovesTheJoinRemovesIt) {
    Json track = Track({Clip("a", 0, 100), Dissolve(4, 4), Clip("b", 10, 100)});
    track["source_range"] = sonrel_tests::Range(0, 99, 25);

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_TRUE(Transitions(import).empty());
    EXPECT_EQ(Reported(import, "transition", "outside the source_range"), 1);
}

}  // namespace
}  // namespace orlo::host::otio
