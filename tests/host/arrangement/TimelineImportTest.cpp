// SPDX-License-Identifier: MIT
#include "host/arrangement/TimelineImport.h"

#include <gtest/gtest.h>

#include "host/otio/JsonDocument.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::File;
using sonrel_tests::Gap;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::Range;
using sonrel_tests::Reported;
using sonrel_tests::Stack;
using sonrel_tests::Time;
using sonrel_tests::Timeline;
using sonrel_tests::Track;

std::string Problem(const Json& document) {
    try {
        Import(document);
    } catch (const DocumentError& error) {
        return error.what();
    }
    return "none";
}

// ---- the top

TEST(TimelineTop, TheTracksOfATimelineAreInFileOrder) {
    const TimelineImport import = Import(Timeline({Track({}, "Voice"), Track({}, "Music")}));

    ASSERT_EQ(import.arrangement.tracks.size(), 2u);
    EXPECT_EQ(import.arrangement.tracks[0].name, "Voice");
    EXPECT_EQ(import.arrangement.tracks[1].name, "Music");
    EXPECT_EQ(import.name, "edit");
}

TEST(TimelineTop, TheChildrenOfABareStackAreTracks) {
    EXPECT_EQ(Import(Stack({Track({}), Track({})})).arrangement.tracks.size(), 2u);
}

TEST(TimelineTop, ABareTrackIsTheOnlyTrack) {
    const TimelineImport import = Import(Track({Clip("a.wav", 0, 50)}));

    EXPECT_EQ(import.arrangement.frameCount, 50);
}

TEST(TimelineTop, ABareClipBecomesATrack) {
    const TimelineImport import = Import(Clip("a.wav", 0, 50));

    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(0).endFrame, 50);
}

TEST(TimelineTop, TheFirstTimelineOfACollectionIsUsed) {
    const Json collection = {
        {"OTIO_SCHEMA", "SerializableCollection.1"},
        {"children", {Clip("x.wav", 0, 10), Timeline({Track({}, "T")}), Timeline({})}}};

    const TimelineImport import = Import(collection);

    EXPECT_EQ(import.arrangement.tracks.at(0).name, "T");
    EXPECT_EQ(Reported(import, "Clip"), 1);
    EXPECT_EQ(Reported(import, "Timeline"), 1);
}

TEST(TimelineTop, TheClipsOfACollectionBecomeTracks) {
    const Json collection = {{"OTIO_SCHEMA", "SerializableCollection.1"},
                             {"children", {Clip("a.wav", 0, 10), Clip("b.wav", 0, 20)}}};

    EXPECT_EQ(Import(collection).arrangement.tracks.size(), 2u);
}

TEST(TimelineTop, VersionsOfSchemasAreIgnored) {
    Json document = Timeline({Track({Clip("a.wav", 0, 50)})});
    document["OTIO_SCHEMA"] = "Timeline.99";
    document["tracks"]["children"][0]["children"][0]["OTIO_SCHEMA"] = "Clip";

    EXPECT_EQ(Import(document).arrangement.frameCount, 50);
}

TEST(TimelineTop, OldNamesOfSchemasAreAccepted) {
    Json gap = Gap(10);
    gap["OTIO_SCHEMA"] = "Filler.1";
    Json track = Track({gap, Clip("a.wav", 0, 50)});
    track["OTIO_SCHEMA"] = "Sequence.1";

    EXPECT_EQ(Import(Timeline({track})).arrangement.tracks.at(0).clips.at(0).startFrame, 10);
}

TEST(TimelineTop, AnUnknownTopIsRefusedWithItsName) {
    EXPECT_NE(Problem(Json({{"OTIO_SCHEMA", "Marker.1"}})).find("'Marker'"), std::string::npos);
    for (const char* text : {"null", "[]", "1", "\"x\"", "{}", "{\"OTIO_SCHEMA\":1}"}) {
        EXPECT_NE(Problem(Json::parse(text)).find("no OTIO_SCHEMA"), std::string::npos) << text;
    }
}

TEST(TimelineTop, ATimelineWithoutAStackOfTracksIsRefused) {
    Json document = Timeline({});
    document.erase("tracks");

    EXPECT_NE(Problem(document).find("no stack of tracks"), std::string::npos);
}

// ---- rates and length

TEST(TimelineRates, TheMostFrequentDurationRateIsTheFrameRate) {
    const TimelineImport import = Import(
        Timeline({Track({Clip("a", 0, 10, 30), Gap(10, 24)}), Track({Clip("b", 0, 10, 24)})}));

    EXPECT_EQ(import.arrangement.fps, 24.0);
}

TEST(TimelineRates, OfEqualCountsTheFirstRateIsUsed) {
    EXPECT_EQ(Import(Timeline({Track({Gap(10, 30), Gap(10, 24)})})).arrangement.fps, 30.0);
    EXPECT_EQ(Import(Timeline({Track({Gap(10, 24), Gap(10, 30)})})).arrangement.fps, 24.0);
}

TEST(TimelineRates, TheDefaultFrameRateIs25) {
    EXPECT_EQ(Import(Timeline({Track({})})).arrangement.fps, 25.0);
}

TEST(TimelineRates, SonrelMetadataTakesPrecedenceOverTheMostFrequentRate) {
    Json document = Timeline({Track({Gap(10, 24)})});
    document["metadata"]["sonrel"] = {{"frameRate", 29.97}, {"sampleRate", 44100}};

    const TimelineImport import = Import(document);

    EXPECT_EQ(import.arrangement.fps, 30000.0 / 1001.0);
    EXPECT_EQ(import.arrangement.rate, 44100);
}

TEST(TimelineRates, RatesOfTheCallerTakePrecedenceOverSonrelMetadata) {
    Json document = Timeline({});
    document["metadata"]["sonrel"] = {{"frameRate", 29.97}, {"sampleRate", 44100}};
    ImportOptions options;
    options.rates = {50.0, 96000};

    const TimelineImport import = Import(document, options);

    EXPECT_EQ(import.arrangement.fps, 50.0);
    EXPECT_EQ(import.arrangement.rate, 96000);
}

TEST(TimelineRates, TheDefaultSampleRateIs48000) {
    EXPECT_EQ(Import(Timeline({})).arrangement.rate, 48000);
}

TEST(TimelineRates, AFrameMustHaveFrom1To96000Samples) {
    EXPECT_NO_THROW(CheckRates(48000.0, 48000));
    EXPECT_THROW(CheckRates(48000.5, 48000), RateError);
    EXPECT_NO_THROW(CheckRates(0.5, 48000));
    EXPECT_THROW(CheckRates(0.49, 48000), RateError);
}

TEST(TimelineRates, SampleRatesMustBeFrom64To768000) {
    EXPECT_NO_THROW(CheckRates(25.0, 64));
    EXPECT_THROW(CheckRates(25.0, 63), RateError);
    EXPECT_NO_THROW(CheckRates(25.0, 768000));
    EXPECT_THROW(CheckRates(25.0, 768001), RateError);
}

TEST(TimelineLength, TheLongestTrackCountsWithItsTrailingGap) {
    Json muted = Track({Clip("a", 0, 10), Gap(90)});
    muted["enabled"] = false;

    EXPECT_EQ(Import(Timeline({Track({Clip("b", 0, 50)}), muted})).arrangement.frameCount, 100);
}

TEST(TimelineLength, SecondsAreRoundedToFramesOnce) {
    // 100 + 101 values at 48000 a second are 201/48000 s: at 25 frames a second 0.1 of a frame;
    // 1000 + 960 values are 1960/48000 s: 1.02 frames.
    const auto frames = [](double a, double b) {
        return Import(Timeline({Track({Gap(a, 48000), Gap(b, 48000)})})).arrangement.frameCount;
    };

    EXPECT_EQ(frames(100, 101), 0);
    EXPECT_EQ(frames(1000, 960), 1);
    EXPECT_EQ(frames(1920, 960), 2);  // 1.5 frames
    EXPECT_EQ(frames(1920, 959), 1);
}

TEST(TimelineLength, AnEndBeyondTheLastFrameNumberIsRefusedWithItsPlace) {
    EXPECT_EQ(Import(Timeline({Track({Gap(2147483647)})})).arrangement.frameCount, 2147483647);
    EXPECT_NE(
        Problem(Timeline({Track({Gap(2147483648.0)}, "Long")})).find("track 1 'Long', item 1"),
        std::string::npos);
    EXPECT_NE(Problem(Timeline({Track({Gap(1e308, 1e-300)})})), "none");
}

// ---- tracks

TEST(TimelineTrack, ATrackOfAnotherKindIsListed) {
    EXPECT_EQ(Reported(Import(Timeline({Track({}, "S", "Subtitle")})), "track of kind 'Subtitle'"),
              1);
}

TEST(TimelineTrack, ADisabledTrackIsMuted) {
    Json track = Track({});
    track["enabled"] = false;

    EXPECT_TRUE(Import(Timeline({track})).arrangement.tracks.at(0).muted);
    EXPECT_FALSE(Import(Timeline({Track({})})).arrangement.tracks.at(0).muted);
}

TEST(TimelineTrack, ASourceRangeTrimsAndShifts) {
    Json track = Track({Clip("a", 0, 50), Clip("b", 0, 50), Clip("c", 0, 50)});
    track["source_range"] = Range(60, 50, 25);

    const TimelineImport import = Import(Timeline({track}));
    const auto& clips = import.arrangement.tracks.at(0).clips;

    // The trim removes the first clip, the first 10 frames of the second and the last 40 frames of
    // the third.
    ASSERT_EQ(clips.size(), 2u);
    EXPECT_EQ(clips[0].startFrame, 0);
    EXPECT_EQ(clips[0].endFrame, 40);
    EXPECT_EQ(clips[0].sourceStartFrame, 10);
    EXPECT_EQ(clips[1].startFrame, 40);
    EXPECT_EQ(clips[1].endFrame, 50);
    EXPECT_EQ(clips[1].sourceStartFrame, 0);
    EXPECT_EQ(import.arrangement.frameCount, 50);
    EXPECT_EQ(Reported(import, "clip", "outside the source_range"), 1);
}

TEST(TimelineTrack, ASourceRangeWithoutLengthIsIgnored) {
    Json track = Track({Clip("a", 0, 50)});
    track["source_range"] = Range(10, 0, 25);

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_EQ(sonrel_tests::OnlyClip(import).startFrame, 0);
    EXPECT_EQ(import.arrangement.frameCount, 50);
}

TEST(TimelineTrack, ASourceRangeOfTheStackTrimsTracksAfterTheirOwnRange) {
    Json track = Track({Clip("a", 0, 100)});
    track["source_range"] = Range(10, 80, 25);
    Json document = Timeline({track});
    document["tracks"]["source_range"] = Range(5, 20, 25);

    const TimelineImport import = Import(document);

    EXPECT_EQ(sonrel_tests::OnlyClip(import).sourceStartFrame, 15);
    EXPECT_EQ(import.arrangement.frameCount, 20);
}

TEST(TimelineTrack, SonrelMetadataSetsLevelBalanceMuteAndSolo) {
    Json track = Track({});
    track["metadata"]["sonrel"] = {{"audioLevel", {{1000, -6.0}, {0, 0.0}}},
                                   {"stereoBalance", -0.5},
                                   {"muted", true},
                                   {"solo", true}};

    const PlacedTrack placed = Import(Timeline({track})).arrangement.tracks.at(0);

    EXPECT_TRUE(placed.muted);
    EXPECT_TRUE(placed.solo);
    EXPECT_EQ(placed.stereoBalance, -0.5f);
    ASSERT_EQ(placed.level.keys.size(), 2u);
    EXPECT_EQ(placed.level.keys[0].timeMs, 0);
    EXPECT_EQ(placed.level.keys[0].decibels, 0.0f);
    EXPECT_EQ(placed.level.keys[1].timeMs, 1000);
    EXPECT_EQ(placed.level.keys[1].decibels, -6.0f);
}

TEST(TimelineTrack, ABalanceOutsideMinusOneToOneIsIgnored) {
    const auto balance = [](double value) {
        Json track = Track({});
        track["metadata"]["sonrel"] = {{"stereoBalance", value}};
        return Import(Timeline({track}));
    };

    EXPECT_EQ(balance(1.0).arrangement.tracks[0].stereoBalance, 1.0f);
    EXPECT_EQ(balance(-1.0).arrangement.tracks[0].stereoBalance, -1.0f);
    EXPECT_EQ(balance(1.01).arrangement.tracks[0].stereoBalance, std::nullopt);
    EXPECT_EQ(Reported(balance(1.01), "stereoBalance"), 1);
}

TEST(TimelineTrack, TheSoloOfForeignMetadataIsUsed) {
    Json track = Track({});
    track["metadata"]["Resolve_OTIO"] = {{"SoloOn", true}};

    EXPECT_TRUE(Import(Timeline({track})).arrangement.tracks[0].solo);
}

TEST(TimelineTrack, TheTimelineSetsTheMasterLevel) {
    Json document = Timeline({});
    document["metadata"]["sonrel"] = {{"masterLevel", -3.5}};

    EXPECT_EQ(Import(document).arrangement.masterLevel.decibels, -3.5f);
}

TEST(TimelineTrack, UnknownKeysOfSonrelMetadataAreListed) {
    Json document = Timeline({Track({})});
    document["metadata"]["sonrel"] = {{"colour", "red"}};
    document["tracks"]["children"][0]["metadata"]["sonrel"] = {{"audiolevel", 1}};

    const TimelineImport import = Import(document);

    EXPECT_EQ(Reported(import, "metadata.sonrel.colour"), 1);
    EXPECT_EQ(Reported(import, "metadata.sonrel.audiolevel"), 1);
}

// ---- positions

TEST(TimelinePosition, EdgesAreRoundedAndDurationsAreNot) {
    // Three clips of 1.4 frames: the edges are at 1.4, 2.8 and 4.2 frames.
    const Json clip = Clip("a", 0, 1.4 * 1920, 48000);
    ImportOptions options;
    options.rates.fps = 25.0;
    options.rates.grid = 1;

    const auto clips =
        Import(Timeline({Track({clip, clip, clip})}), options).arrangement.tracks.at(0).clips;

    ASSERT_EQ(clips.size(), 3u);
    EXPECT_EQ(clips[0].startFrame, 0);
    EXPECT_EQ(clips[0].endFrame, 1);
    EXPECT_EQ(clips[1].startFrame, 1);
    EXPECT_EQ(clips[1].endFrame, 3);
    EXPECT_EQ(clips[2].startFrame, 3);
    EXPECT_EQ(clips[2].endFrame, 4);
}

TEST(TimelinePosition, HalvesOfAFrameRoundUp) {
    const auto clip = sonrel_tests::OnlyClip(
        Import(Timeline({Track({Gap(0.5, 25), Clip("a", 0, 1, 25), Gap(10, 25)})})));

    EXPECT_EQ(clip.startFrame, 1);
    EXPECT_EQ(clip.endFrame, 2);
}

TEST(TimelinePosition, AClipWithEqualEdgesIsLeftOutAndListed) {
    const TimelineImport import =
        Import(Timeline({Track({Clip("a", 0, 0.4, 25), Clip("b", 0, 10, 25)})}));

    EXPECT_EQ(import.arrangement.tracks.at(0).clips.size(), 1u);
    EXPECT_EQ(Reported(import, "clip", "shorter than a frame"), 1);
}

TEST(TimelinePosition, AnUnknownItemTakesItsTime) {
    Json unknown = Gap(10);
    unknown["OTIO_SCHEMA"] = "Hologram.1";

    const TimelineImport import = Import(Timeline({Track({unknown, Clip("a", 0, 5)})}));

    EXPECT_EQ(sonrel_tests::OnlyClip(import).startFrame, 10);
    EXPECT_EQ(Reported(import, "unknown 'Hologram'"), 1);
}

TEST(TimelinePosition, AnItemThatIsNotAnObjectIsListed) {
    Json track = Track({Clip("a", 0, 5)});
    track["children"].push_back(nullptr);
    track["children"].push_back(7);

    EXPECT_EQ(Reported(Import(Timeline({track})), "item without a schema"), 2);
}

TEST(TimelinePosition, ANegativeDurationCountsAsZero) {
    const TimelineImport import = Import(Timeline({Track({Gap(-10), Clip("a", 0, 5)})}));

    EXPECT_EQ(sonrel_tests::OnlyClip(import).startFrame, 0);
    EXPECT_EQ(Reported(import, "negative duration"), 1);
}

// ---- numbers

TEST(TimelineNumbers, ARateOfZeroIsReplacedByTheRateOfTheTrack) {
    // 10 values at the track's 50 a second are 0.2 s: 5 frames at 25 a second.
    Json document = Timeline({Track({Gap(50, 50), Clip("a", 0, 10, 0), Gap(50, 50)}),
                              Track({Gap(25, 25), Gap(25, 25), Gap(25, 25)})});

    const TimelineImport import = Import(document);

    EXPECT_EQ(import.arrangement.fps, 25.0);
    EXPECT_EQ(sonrel_tests::OnlyClip(import).startFrame, 25);
    EXPECT_EQ(sonrel_tests::OnlyClip(import).endFrame, 30);
    EXPECT_EQ(Reported(import, "rate of the duration", "50 is used"), 1);
}

TEST(TimelineNumbers, ARateThatIsNotANumberIsReplacedByTheRateOfTheTimeline) {
    Json clip = Clip("a", 0, 10);
    clip["source_range"]["duration"]["rate"] = nullptr;
    ImportOptions options;
    options.rates.fps = 50.0;

    const TimelineImport import = Import(Timeline({Track({clip})}), options);

    EXPECT_EQ(sonrel_tests::OnlyClip(import).endFrame, 10);
    EXPECT_EQ(Reported(import, "rate of the duration", "50 is used"), 1);
}

TEST(TimelineNumbers, AValueThatIsNotFiniteCountsAsZero) {
    Json clip = Clip("a", 0, 10);
    clip["source_range"]["start_time"]["value"] = nullptr;

    const TimelineImport import = Import(Timeline({Track({clip})}));

    EXPECT_EQ(sonrel_tests::OnlyClip(import).sourceStartFrame, 0);
    EXPECT_EQ(Reported(import, "source_range.start_time"), 1);
}

TEST(TimelineNumbers, AStringInPlaceOfANumberIsRefusedWithItsPlace) {
    Json clip = Clip("a", 0, 10);
    clip["source_range"]["duration"]["rate"] = "24";

    EXPECT_EQ(
        Problem(Timeline({Track({clip}, "Voice")})),
        "track 1 'Voice', item 1 'clip': source_range.duration.rate is a string, not a number");
}

TEST(TimelineNumbers, ChildrenThatAreNotAListAreRefused) {
    Json track = Track({});
    track["children"] = 1;

    EXPECT_EQ(Problem(Timeline({track})), "track 1 'A1': children is a number, not a list");
}

}  // namespace
}  // namespace orlo::host::otio
