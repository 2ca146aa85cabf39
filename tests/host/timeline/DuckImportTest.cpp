// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/arrangement/TimelineImport.h"
#include "host/timeline/Ducking.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host {
namespace {

using otio::TimelineImport;
using sonrel_tests::Clip;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::Reported;
using sonrel_tests::Stack;
using sonrel_tests::Timeline;
using sonrel_tests::Track;
using sonrel_tests::WithOurs;

/// Imports a music track with a ducking value, between two tracks "Voice" and "Noise".
TimelineImport ImportDuck(const Json& duck) {
    const Json music = WithOurs(Track({Clip("a", 0, 50)}, "Music"), {{"duck", duck}});
    TimelineImport import = Import(
        Timeline({Track({Clip("b", 0, 50)}, "Noise"), music, Track({Clip("c", 0, 50)}, "Voice")}));
    DropRefusedDucking(import);
    return import;
}

void ExpectSkipped(const Json& duck, const std::string& reason) {
    const TimelineImport import = ImportDuck(duck);

    EXPECT_FALSE(import.arrangement.tracks.at(1).duck) << duck;
    EXPECT_EQ(Reported(import, "duck", reason + "; it is skipped"), 1) << duck;
}

TEST(DuckImport, ATrackIsLoweredByTheTrackThatItNames) {
    const TimelineImport import = ImportDuck({{"by", "Voice"}, {"parameters", {{"depthDb", -9}}}});

    const otio::PlacedTrack& music = import.arrangement.tracks.at(1);
    ASSERT_TRUE(music.duck);
    EXPECT_EQ(music.duck->parameters.at("depthDb"), -9.0);
    EXPECT_EQ(KeyTrackOf(import.arrangement.tracks, music), 2u);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(DuckImport, ParametersMayBeLeftOut) {
    const TimelineImport import = ImportDuck({{"by", "Noise"}});

    const otio::PlacedTrack& music = import.arrangement.tracks.at(1);
    ASSERT_TRUE(music.duck);
    EXPECT_EQ(KeyTrackOf(import.arrangement.tracks, music), 0u);
}

TEST(DuckImport, AValueThatIsNotADuckingIsListedAndSkipped) {
    ExpectSkipped(7, "it is not an object");
    ExpectSkipped(Json::object(), "its \"by\" does not name the other track");
    ExpectSkipped({{"by", 1}}, "its \"by\" does not name the other track");
    ExpectSkipped({{"by", "Voice"}, {"depthDb", -9}}, "its 'depthDb' is unknown");
    ExpectSkipped({{"by", "Voice"}, {"parameters", 3}}, "its parameters are not an object");
    ExpectSkipped({{"by", "Voice"}, {"parameters", {{"depthDb", nullptr}}}},
                  "its depthDb is not a finite number");
}

TEST(DuckImport, AParameterThatIsUnknownOrOutOfRangeIsListedAndTheDuckingSkipped) {
    ExpectSkipped({{"by", "Voice"}, {"parameters", {{"depthDb", 1}}}},
                  "duck: depthDb must be from -96 to 0 dB, not 1");
    ExpectSkipped({{"by", "Voice"}, {"parameters", {{"depth", -1}}}},
                  "duck: there is no parameter \"depth\", only thresholdDb, depthDb, attackMs, "
                  "holdMs, releaseMs");
}

TEST(DuckImport, ATrackThatDoesNotExistOrIsTheTrackItselfIsListedAndTheDuckingSkipped) {
    ExpectSkipped({{"by", "Vocals"}}, "there is no track 'Vocals'");
    ExpectSkipped({{"by", "Music"}}, "a track cannot lower itself");
}

TEST(DuckImport, ANameOfSeveralTracksIsListedAndTheDuckingSkipped) {
    const Json music = WithOurs(Track({Clip("a", 0, 50)}, "Music"), {{"duck", {{"by", "A1"}}}});
    TimelineImport import =
        Import(Timeline({Track({Clip("b", 0, 50)}), music, Track({Clip("c", 0, 50)})}));

    DropRefusedDucking(import);

    EXPECT_FALSE(import.arrangement.tracks.at(1).duck);
    EXPECT_EQ(Reported(import, "duck", "2 tracks have the name 'A1'"), 1);
}

TEST(DuckImport, OfAnInnerTrackIsListedAndIgnored) {
    const Json inner = WithOurs(Track({Clip("a", 0, 50)}, "Music"), {{"duck", {{"by", "Voice"}}}});
    TimelineImport import =
        Import(Timeline({Track({Stack({inner})}), Track({Clip("c", 0, 50)}, "Voice")}));

    EXPECT_EQ(Reported(import, "duck", "inside a nested item"), 1);
}

}  // namespace
}  // namespace orlo::host
