// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/arrangement/TimelineImport.h"
#include "host/otio/JsonDocument.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::OnlyClip;
using sonrel_tests::Reported;
using sonrel_tests::Timeline;
using sonrel_tests::TimeWarp;
using sonrel_tests::Track;

Json Effect(const std::string& program, const Json& metadata) {
    return {{"OTIO_SCHEMA", "Effect.1"}, {"name", "x"}, {"metadata", {{program, metadata}}}};
}

Json Resolve(const std::string& name, int type, const Json& parameters, bool enabled = true) {
    return Effect(
        "Resolve_OTIO",
        {{"Effect Name", name}, {"Type", type}, {"Enabled", enabled}, {"Parameters", parameters}});
}

Json Premiere(const std::string& match, const std::vector<Json>& parameters) {
    return Effect("PremierePro_OTIO", {{"MatchName", match}, {"Parameters", parameters}});
}

Json Start(int id, const Json& value) {
    return {{"ID", id}, {"StartValue", {{"Value", value}}}};
}

Json FcpLevel(const Json& parameter) {
    Json level = parameter;
    level["parameterid"] = "level";
    return Effect("fcp_xml", {{"effectid", "audiolevels"}, {"parameter", level}});
}

Json FcpPan(const std::string& value) {
    return Effect("fcp_xml", {{"effectid", "audiopan"},
                              {"parameter", {{"parameterid", "pan"}, {"value", value}}}});
}

Json AafGain(const Json& amplitude) {
    return Effect("AAF", {{"Operation", {{"Name", "Mono Audio Gain"}}},
                          {"Parameters", {{"Amplitude", amplitude}}}});
}

Json WithEffects(Json clip, std::vector<Json> effects) {
    clip["effects"] = std::move(effects);
    return clip;
}

TimelineImport ImportClip(std::vector<Json> effects) {
    return Import(Timeline({Track({WithEffects(Clip("a", 0, 50), std::move(effects))})}));
}

TimelineImport ImportPans(const std::string& first, const std::string& second) {
    return Import(Timeline({Track({WithEffects(Clip("a", 0, 50), {FcpPan(first)}),
                                   WithEffects(Clip("b", 0, 50), {FcpPan(second)})})}));
}

// ---- pans

TEST(EditorSound, APanThatAllClipsOfATrackShareIsTheBalanceOfTheTrack) {
    const TimelineImport import = ImportPans("-0.5", "-0.5");

    EXPECT_EQ(import.arrangement.tracks.at(0).stereoBalance, -0.5f);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(EditorSound, DifferentPansOnATrackAreListedAndNotImported) {
    const TimelineImport import = ImportPans("-0.5", "0");

    EXPECT_FALSE(import.arrangement.tracks.at(0).stereoBalance);
    EXPECT_EQ(Reported(import, "pan", "different pans"), 1);
}

TEST(EditorSound, TheSidesOfAStereoPairAreNoPans) {
    std::vector<Json> tracks;
    for (const char* source : {"1", "2"}) {
        Json clip = WithEffects(Clip("a", 0, 50), {FcpPan("-1")});
        clip["metadata"]["fcp_xml"]["sourcetrack"] = {{"mediatype", "audio"},
                                                      {"trackindex", source}};
        tracks.push_back(Track({clip}));
    }

    const TimelineImport import = Import(Timeline(tracks));

    EXPECT_FALSE(import.arrangement.tracks.at(0).stereoBalance);
    EXPECT_FALSE(import.arrangement.tracks.at(1).stereoBalance);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(EditorSound, APanOutsideItsRangeIsListedAndIgnored) {
    const TimelineImport import = ImportPans("2", "2");

    EXPECT_FALSE(import.arrangement.tracks.at(0).stereoBalance);
    EXPECT_EQ(Reported(import, "pan", "outside its range"), 2);
}

// ---- levels

TEST(EditorSound, LevelsOfSeveralEffectsAreAdded) {
    EXPECT_NEAR(*OnlyClip(ImportClip({AafGain("1/2"), AafGain(0.5)})).level.decibels, -12.041,
                1e-3);
}

TEST(EditorSound, ALevelIsAddedToTheKeysOfAnotherEffect) {
    const Json keys = {
        {"keyframe", {{{"when", "0"}, {"value", "1"}}, {{"when", "50"}, {"value", "1"}}}}};

    const auto level = OnlyClip(ImportClip({FcpLevel(keys), FcpLevel({{"value", "0.5"}})})).level;

    ASSERT_EQ(level.keys.size(), 2u);
    EXPECT_NEAR(level.keys[0].decibels, -6.0206, 1e-3);
    EXPECT_EQ(level.keys[1].timeMs, 2000);
}

TEST(EditorSound, KeysOfARetimedClipAreWhereTheirMediaIsHeard) {
    const Json keys = {
        {"keyframe", {{{"when", "0"}, {"value", "1"}}, {{"when", "50"}, {"value", "1"}}}}};

    const auto level = OnlyClip(ImportClip({FcpLevel(keys), TimeWarp(2.0)})).level;

    EXPECT_EQ(level.keys.at(1).timeMs, 1000);
}

TEST(EditorSound, ALevelOf0IsSilenceWithAnEntry) {
    const TimelineImport import = ImportClip({Premiere("Internal Volume Mono", {Start(1, 0.0)})});

    EXPECT_LE(*OnlyClip(import).level.decibels, -140.0f);
    ASSERT_EQ(import.report.Entries().size(), 1u);
    EXPECT_EQ(import.report.Entries()[0].severity, Severity::Silence);
}

TEST(EditorSound, ADefaultThatIsStoredAsARoundedNumberChangesNothing) {
    const TimelineImport import =
        ImportClip({Premiere("Internal Volume Stereo", {Start(1, 0.1778279)}), AafGain("1/1"),
                    Premiere("PanProcessor", {Start(0, 0.5)}), FcpLevel({{"value", "1"}})});

    EXPECT_FALSE(OnlyClip(import).level.decibels);
    EXPECT_FALSE(import.arrangement.tracks.at(0).stereoBalance);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(EditorSound, ValuesThatAreNoNumbersAreListedAndIgnored) {
    const TimelineImport import =
        ImportClip({Premiere("Internal Volume Stereo", {Start(1, "loud")}), AafGain("1/0"),
                    FcpLevel({{"value", "nan"}}), FcpPan(""), AafGain("-1")});

    EXPECT_FALSE(OnlyClip(import).level.decibels);
    EXPECT_EQ(Reported(import, "volume", "not a usable number"), 3);
    EXPECT_EQ(Reported(import, "pan", "not a usable number"), 1);
    EXPECT_EQ(Reported(import, "level", "negative"), 1);
}

TEST(EditorSound, SonrelMetadataTakesPrecedence) {
    Json track = Track({WithEffects(Clip("a", 0, 50), {AafGain("1/2")})});
    track["children"][0]["metadata"]["sonrel"] = {{"audioLevel", -1.0}};
    track["effects"] = {Premiere("AudioFader", {Start(0, 0.5)})};
    track["metadata"]["sonrel"] = {{"audioLevel", -2.0}};

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_EQ(OnlyClip(import).level.decibels, -1.0f);
    EXPECT_EQ(import.arrangement.tracks.at(0).level.decibels, -2.0f);
}

// ---- effects without a loss

TEST(EditorSound, BandsOfADisabledEqualiserAreNotListed) {
    const Json band = Resolve("Fairlight Equaliser Band", 63, {{{"Parameter ID", "eq dB gain"}}});

    const TimelineImport off =
        ImportClip({band, Resolve("Fairlight Clip Equaliser", 64, Json::array(), false), band});
    const TimelineImport on =
        ImportClip({band, Resolve("Fairlight Clip Equaliser", 64, Json::array()), band});

    EXPECT_TRUE(off.report.Entries().empty());
    EXPECT_EQ(Reported(on, "effect 'Fairlight Equaliser Band'"), 2);
}

TEST(EditorSound, PicturesOfPremiereAreNotListed) {
    EXPECT_TRUE(
        ImportClip({Premiere("AE.ADBE Motion", {Start(2, 50.0)})}).report.Entries().empty());
}

TEST(EditorSound, AMovingPanIsListedAndItsFirstValueIsUsed) {
    const Json moving = {{"ID", 0}, {"Keyframes", {{{"Value", 0.0}}, {{"Value", 1.0}}}}};

    const TimelineImport import = ImportClip({Premiere("PanProcessor", {moving})});

    EXPECT_EQ(import.arrangement.tracks.at(0).stereoBalance, -1.0f);
    EXPECT_EQ(Reported(import, "pan", "it moves"), 1);
}

// ---- the document

TEST(EditorSound, OfAafMetadataEffectsAreKeptWholeAndClipsWithTheirFades) {
    const std::string text =
        R"({"OTIO_SCHEMA":"Clip.1","a":{"b":{"effects":[{"metadata":{"AAF":{"Length":1}}}],)"
        R"("metadata":{"AAF":{"Length":7,"FadeInLength":3,"Slots":{"deep":[1]}}}}}})";

    const host::Json document = ParseDocument(text);

    const host::Json* clip = document.Find("a")->Find("b");
    EXPECT_NE(clip->Find("effects")->AsArray().at(0).Find("metadata")->Find("AAF")->Find("Length"),
              nullptr);
    const host::Json* aaf = clip->Find("metadata")->Find("AAF");
    EXPECT_EQ(aaf->AsObject().size(), 1u);
    EXPECT_EQ(aaf->Find("FadeInLength")->AsInteger(), 3);
}

}  // namespace
}  // namespace orlo::host::otio
