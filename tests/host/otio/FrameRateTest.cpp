// SPDX-License-Identifier: MIT
#include "host/otio/FrameRates.h"

#include <gtest/gtest.h>

#include <map>

#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Gap;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::OnlyClip;
using sonrel_tests::Range;
using sonrel_tests::Stack;
using sonrel_tests::Time;
using sonrel_tests::Timeline;
using sonrel_tests::Track;

double FrameRateOf(const Json& document) {
    return Import(document).arrangement.fps;
}

/// A timeline with the rate @p start in its global_start_time.
Json WithStartRate(Json document, double start) {
    document["global_start_time"] = Time(86400, start);
    return document;
}

Json Pictures(std::vector<Json> children) {
    return Track(std::move(children), "V1", "Video");
}

// ---- rates of the document

TEST(FrameRateChoice, TheGlobalStartTimeComesBeforeThePictureTracks) {
    const Json document = Timeline({Pictures({Gap(10, 30)}), Track({Gap(10, 25)})});

    EXPECT_EQ(FrameRateOf(WithStartRate(document, 24)), 24.0);
}

TEST(FrameRateChoice, AStartThatIsATimeScaleDoesNotCount) {
    const Json document = Timeline({Pictures({Gap(10, 30)})});

    for (const double scale : {0.0, 1.0, 11.99, 240.5, 48000.0}) {
        EXPECT_EQ(FrameRateOf(WithStartRate(document, scale)), 30.0) << scale;
    }
    EXPECT_EQ(FrameRateOf(WithStartRate(document, 12)), 12.0);
}

TEST(FrameRateChoice, ThePictureTracksComeBeforeTheAudioTracks) {
    const Json sound = Track({Gap(10, 25), Gap(10, 25), Gap(10, 25)});

    EXPECT_EQ(FrameRateOf(Timeline({sound, Pictures({Gap(10, 24)})})), 24.0);
}

TEST(FrameRateChoice, TheMostFrequentRateOfThePictureTracksIsUsed) {
    const Json document =
        Timeline({Pictures({Gap(10, 50), Gap(10, 24)}), Pictures({Clip("a", 0, 10, 24)})});

    EXPECT_EQ(FrameRateOf(document), 24.0);
}

TEST(FrameRateChoice, RatesBelow12AndAbove240AreTimeScales) {
    const auto fps = [](double rate) {
        return FrameRateOf(Timeline({Track({Gap(10, rate), Gap(10, rate), Gap(1, 30)})}));
    };

    EXPECT_EQ(fps(48000), 30.0);
    EXPECT_EQ(fps(240.5), 30.0);
    EXPECT_EQ(fps(240), 240.0);
    EXPECT_EQ(fps(12), 12.0);
    EXPECT_EQ(fps(11.99), 30.0);
    EXPECT_EQ(fps(1), 30.0);
    EXPECT_EQ(fps(0), 30.0);
}

TEST(FrameRateChoice, AnAbsurdRateOfASingleClipDoesNotCount) {
    EXPECT_EQ(FrameRateOf(Timeline({Track({Clip("a", 0, 10, 0.001)})})), 25.0);
    EXPECT_EQ(FrameRateOf(Timeline({Track({Clip("a", 0, 10, 1e12)})})), 25.0);
    EXPECT_EQ(FrameRateOf(Timeline({Track({Clip("a", 0, 10, 0)})})), 25.0);
}

TEST(FrameRateChoice, AClipWithoutARangeCountsItsMedia) {
    Json clip = Clip("a", 0, 10);
    clip.erase("source_range");
    clip["media_reference"]["available_range"] = Range(0, 10, 50);

    EXPECT_EQ(FrameRateOf(Timeline({Pictures({clip})})), 50.0);
}

TEST(FrameRateChoice, ANestedItemWithoutARateCountsItsContent) {
    Json nested = Stack({Pictures({Gap(10, 24)})});
    EXPECT_EQ(FrameRateOf(Timeline({Pictures({nested})})), 24.0);

    nested["source_range"] = Range(0, 10, 50);
    EXPECT_EQ(FrameRateOf(Timeline({Pictures({nested})})), 50.0);
}

TEST(FrameRateChoice, APictureTrackThatIsNotHeardMayHaveWrongTypes) {
    Json broken = Clip("a", 0, 10, 30);
    broken["source_range"]["duration"] = "long";
    Json noChildren = Pictures({});
    noChildren["children"] = 7;

    EXPECT_EQ(FrameRateOf(Timeline({Pictures({broken, 7, nullptr}), noChildren, Track({})})), 25.0);
}

// ---- rates of the media

/// Imports with pictures of the rates in @p pictures; other files have none.
double FrameRateWith(const Json& document, const std::map<std::string, double>& pictures) {
    ImportOptions options;
    options.pictureRateOf = [&](const std::string& path) {
        const auto at = pictures.find(path);
        return at == pictures.end() ? 0.0 : at->second;
    };
    return Import(document, options).arrangement.fps;
}

TEST(FrameRateChoice, ThePicturesOfTheMediaCountLast) {
    const Json seconds = Timeline({Pictures({Clip("a.mov", 0, 10, 1), Clip("b.mov", 0, 10, 1)}),
                                   Track({Clip("c.mov", 0, 10, 1), Clip("d.wav", 0, 10, 1)})});
    const std::map<std::string, double> pictures{
        {"/edit/a.mov", 30.0}, {"/edit/b.mov", 23.976}, {"/edit/c.mov", 24000.0 / 1001.0}};

    EXPECT_EQ(FrameRateWith(seconds, pictures), 24000.0 / 1001.0);
    EXPECT_EQ(FrameRateWith(seconds, {{"/edit/a.mov", 1000.0}}), 25.0);
    EXPECT_EQ(FrameRateWith(Timeline({Track({Clip("a.mov", 0, 10, 50)})}), pictures), 50.0);
}

// ---- exact rates

TEST(ExactRate, RoundedRatesMeanMultiplesOf1000By1001) {
    EXPECT_EQ(ExactRate(23.98), 24000.0 / 1001.0);
    EXPECT_EQ(ExactRate(23.976), 24000.0 / 1001.0);
    EXPECT_EQ(ExactRate(29.97), 30000.0 / 1001.0);
    EXPECT_EQ(ExactRate(47.95), 48000.0 / 1001.0);
    EXPECT_EQ(ExactRate(59.94), 60000.0 / 1001.0);
    EXPECT_EQ(ExactRate(119.88), 120000.0 / 1001.0);
}

TEST(ExactRate, OtherRatesAreUnchanged) {
    for (const double rate : {0.0, 1.0, 23.9, 24.0, 25.0, 29.9, 30.0, 59.9, 60.0, 48000.0}) {
        EXPECT_EQ(ExactRate(rate), rate);
    }
}

TEST(ExactRate, TimesAtARoundedRateCountAtTheExactRate) {
    // An hour at 23.98 and an hour at 24000/1001 differ by 14 frames.
    const TimelineImport import =
        Import(Timeline({Track({Gap(86400, 23.98), Clip("a", 86400, 24, 23.976)})}));

    EXPECT_EQ(OnlyClip(import).startFrame, 86400);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 86400);
}

// ---- text

TEST(FrameRateText, ANumberOrAFractionIsAFrameRate) {
    EXPECT_EQ(ParseFrameRate("25")->fps, 25.0);
    EXPECT_EQ(ParseFrameRate("12.5")->fps, 12.5);
    EXPECT_EQ(ParseFrameRate("24000/1001")->fps, 24000.0 / 1001.0);
    EXPECT_EQ(ParseFrameRate("30000/1001")->fps, 30000.0 / 1001.0);
    EXPECT_EQ(ParseFrameRate("50/2")->fps, 25.0);
    EXPECT_EQ(ParseFrameRate("29.97")->fps, 30000.0 / 1001.0);
    EXPECT_FALSE(ParseFrameRate("29.97")->dropFrame);
}

TEST(FrameRateText, DfAsksForDropFrameTimecode) {
    EXPECT_EQ(ParseFrameRate("29.97df")->fps, 30000.0 / 1001.0);
    EXPECT_TRUE(ParseFrameRate("29.97df")->dropFrame);
    EXPECT_TRUE(ParseFrameRate("60000/1001df")->dropFrame);
}

TEST(FrameRateText, OtherTextsAreNotFrameRates) {
    for (const char* text : {"", "0", "-25", "0/1", "25/0", "25/", "/1001", "1/2/3", "abc", "df",
                             "24df", "30df", "29.97 df", "1e3", "nan", "inf"}) {
        EXPECT_FALSE(ParseFrameRate(text)) << text;
    }
}

}  // namespace
}  // namespace orlo::host::otio
