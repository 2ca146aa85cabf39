// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/arrangement/TimelineImport.h"
#include "host/timeline/EffectChains.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host {
namespace {

using otio::EffectRequest;
using otio::PlacedClip;
using otio::TimelineImport;
using sonrel_tests::Clip;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::OnlyClip;
using sonrel_tests::Range;
using sonrel_tests::Reported;
using sonrel_tests::Stack;
using sonrel_tests::Timeline;
using sonrel_tests::Track;
using sonrel_tests::WithOurs;

/// Imports a clip with Sonrel metadata and drops the effects that the plugin pack refuses.
TimelineImport ImportWithMetadata(const Json& values) {
    TimelineImport import = Import(Timeline({Track({WithOurs(Clip("a", 0, 50), values)})}));
    DropRefusedEffects(import);
    return import;
}

Json Gain(double gainDb) {
    return {{"plugin", "gain"}, {"parameters", {{"gainDb", gainDb}}}};
}

TimelineImport ImportEffects(std::vector<Json> effects) {
    return ImportWithMetadata({{"effects", std::move(effects)}});
}

Json WithVolumeParameters(std::vector<Json> parameters) {
    Json clip = Clip("a", 0, 50);
    clip["effects"] = std::vector<Json>{
        {{"OTIO_SCHEMA", "Effect.1"},
         {"metadata",
          {{"Resolve_OTIO",
            {{"Effect Name", "Fairlight Clip Volume and Fades"}, {"Parameters", parameters}}}}}}};
    return clip;
}

// ---- effects

TEST(EffectImport, EffectsAreImportedInFileOrderWithTheirParameters) {
    const TimelineImport import = ImportEffects(
        {Gain(-3), {{"plugin", "low-pass"}, {"parameters", {{"frequencyHz", 800}, {"q", 2}}}}});

    const std::vector<EffectRequest> effects = OnlyClip(import).effects;
    ASSERT_EQ(effects.size(), 2u);
    EXPECT_EQ(effects[0].plugin, "gain");
    EXPECT_EQ(std::get<double>(effects[0].parameters.at("gainDb")), -3.0);
    EXPECT_EQ(effects[1].plugin, "low-pass");
    EXPECT_EQ(std::get<double>(effects[1].parameters.at("frequencyHz")), 800.0);
    EXPECT_TRUE(effects[1].enabled);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(EffectImport, ADisabledEffectIsKeptAndDisabled) {
    Json off = Gain(-3);
    off["enabled"] = false;

    const TimelineImport import = ImportEffects({off});

    EXPECT_FALSE(OnlyClip(import).effects.at(0).enabled);
    const auto chain = MakeChain(OnlyClip(import), 25.0, 48000);
    ASSERT_EQ(chain.size(), 1u);
    EXPECT_FALSE(chain[0].enabled);
}

TEST(EffectImport, ParametersAreOptional) {
    EXPECT_EQ(OnlyClip(ImportEffects({{{"plugin", "delay"}}})).effects.size(), 1u);
    EXPECT_EQ(
        OnlyClip(ImportEffects({{{"plugin", "delay"}, {"parameters", nullptr}}})).effects.size(),
        1u);
}

TEST(EffectImport, AChoiceMayBeNamed) {
    const Json fade = {{"plugin", "fade"}, {"parameters", {{"inFrames", 5}, {"curve", "db"}}}};

    const TimelineImport import = ImportEffects({fade});

    EXPECT_TRUE(import.report.Entries().empty());
    EXPECT_EQ(MakeChain(OnlyClip(import), 25.0, 48000).size(), 1u);
}

TEST(EffectImport, AnUnknownChoiceIsListedAndTheEffectSkipped) {
    const TimelineImport import =
        ImportEffects({{{"plugin", "fade"}, {"parameters", {{"curve", "cubic"}}}},
                       {{"plugin", "gain"}, {"parameters", {{"gainDb", "loud"}}}}});

    EXPECT_TRUE(OnlyClip(import).effects.empty());
    EXPECT_EQ(Reported(import, "effect 'fade'", "skipped"), 1);
    EXPECT_EQ(Reported(import, "effect 'gain'", "skipped"), 1);
}

TEST(EffectImport, AnUnknownPluginIsListedAndSkippedAndOtherEffectsAreKept) {
    const TimelineImport import = ImportEffects({Gain(1), {{"plugin", "vocoder"}}, Gain(2)});

    ASSERT_EQ(OnlyClip(import).effects.size(), 2u);
    EXPECT_EQ(Reported(import, "effect 'vocoder'", "there is no effect"), 1);
}

TEST(EffectImport, AnUnknownPluginIsRefusedByItsNameAndNotByItsParameters) {
    const TimelineImport import =
        ImportEffects({{{"plugin", "vocoder"}, {"parameters", {{"curve", "x"}}}}});

    EXPECT_EQ(Reported(import, "effect 'vocoder'", "there is no effect"), 1);
}

TEST(EffectImport, AnUnknownParameterIsListedAndTheEffectSkipped) {
    const TimelineImport import =
        ImportEffects({{{"plugin", "gain"}, {"parameters", {{"volume", 1}}}}});

    EXPECT_TRUE(OnlyClip(import).effects.empty());
    EXPECT_EQ(Reported(import, "effect 'gain'", "no parameter"), 1);
}

TEST(EffectImport, AParameterOutOfRangeIsListedAndTheEffectSkipped) {
    EXPECT_EQ(OnlyClip(ImportEffects({Gain(24)})).effects.size(), 1u);

    const TimelineImport import = ImportEffects({Gain(24.001)});

    EXPECT_TRUE(OnlyClip(import).effects.empty());
    EXPECT_EQ(Reported(import, "effect 'gain'", "from -96 to 24"), 1);
}

TEST(EffectImport, EqualizerCompressorGateAndLimiterAreImportedAndCheckedByTheirRanges) {
    const auto effect = [](const char* plugin, const char* parameter, double value) {
        return Json{{"plugin", plugin}, {"parameters", {{parameter, value}}}};
    };
    const TimelineImport good =
        ImportEffects({effect("equalizer", "midDb", -24), effect("compressor", "ratio", 100),
                       effect("gate", "holdMs", 400), effect("limiter", "ceilingDb", -24)});
    const TimelineImport bad =
        ImportEffects({effect("equalizer", "midDb", -24.5), effect("compressor", "ratio", 0.5),
                       effect("gate", "holdMs", 401), effect("limiter", "ceilingDb", 0.5)});

    EXPECT_TRUE(good.report.Entries().empty());
    EXPECT_EQ(MakeChain(OnlyClip(good), 25.0, 48000).size(), 4u);
    EXPECT_TRUE(OnlyClip(bad).effects.empty());
    EXPECT_EQ(Reported(bad, "effect 'equalizer'", "midDb must be from -24 to 24 dB, not -24.5"), 1);
    EXPECT_EQ(Reported(bad, "effect 'compressor'", "ratio must be from 1 to 100, not 0.5"), 1);
    EXPECT_EQ(Reported(bad, "effect 'gate'", "holdMs must be from 0 to 400 ms, not 401"), 1);
    EXPECT_EQ(Reported(bad, "effect 'limiter'", "ceilingDb must be from -24 to 0 dB, not 0.5"), 1);
}

TEST(EffectImport, ALimitMayDependOnTheSampleRate) {
    // The limit is 0.45 times 48000 Hz.
    const auto lowPass = [](double hertz) {
        return OnlyClip(ImportEffects(
                            {{{"plugin", "low-pass"}, {"parameters", {{"frequencyHz", hertz}}}}}))
            .effects.size();
    };

    EXPECT_EQ(lowPass(21600), 1u);
    EXPECT_EQ(lowPass(21601), 0u);
}

TEST(EffectImport, ADisabledEffectThatIsRefusedIsListedToo) {
    Json off = Gain(99);
    off["enabled"] = false;

    EXPECT_EQ(Reported(ImportEffects({off}), "effect 'gain'", "skipped"), 1);
}

TEST(EffectImport, AValueThatIsNotAnEffectIsListedAndSkipped) {
    const TimelineImport import =
        ImportEffects({nullptr, 7, Json::object(), {{"plugin", 3}}, Gain(1)});

    EXPECT_EQ(OnlyClip(import).effects.size(), 1u);
    EXPECT_EQ(Reported(import, "effect", "does not name a plugin"), 4);
}

TEST(EffectImport, AParameterThatIsNotANumberIsListedAndTheEffectSkipped) {
    // A NaN in the file reads as null.
    for (const Json& value : {Json(nullptr), Json(true), Json::array({1}), Json::object()}) {
        const TimelineImport import =
            ImportEffects({{{"plugin", "gain"}, {"parameters", {{"gainDb", value}}}}});

        EXPECT_TRUE(OnlyClip(import).effects.empty());
        EXPECT_EQ(Reported(import, "effect 'gain'", "not a finite number"), 1);
    }
    EXPECT_EQ(Reported(ImportEffects({{{"plugin", "gain"}, {"parameters", Json::array()}}}),
                       "effect 'gain'", "not an object"),
              1);
}

TEST(EffectImport, EffectsThatAreNotAListAreListed) {
    EXPECT_EQ(Reported(ImportWithMetadata({{"effects", "gain"}}), "effects", "not a list"), 1);
}

TEST(EffectImport, EffectsInsideANestedItemAreChecked) {
    TimelineImport import = Import(Timeline({Track(
        {Stack({Track({WithOurs(Clip("a", 0, 20), {{"effects", {Gain(99), Gain(1)}}})})})})}));

    DropRefusedEffects(import);

    const PlacedClip inner = OnlyClip(import).composition->tracks.at(0).clips.at(0);
    EXPECT_EQ(inner.effects.size(), 1u);
    EXPECT_EQ(Reported(import, "effect 'gain'", "skipped"), 1);
}

// ---- fades

TEST(FadeImport, SonrelMetadataSetsLengthsInFramesAndTheCurve) {
    const TimelineImport import =
        ImportWithMetadata({{"fadeIn", 5}, {"fadeOut", 12.5}, {"fadeCurve", "linear"}});

    EXPECT_EQ(OnlyClip(import).fades.inFrames, 5.0);
    EXPECT_EQ(OnlyClip(import).fades.outFrames, 12.5);
    EXPECT_EQ(OnlyClip(import).fades.curve, "linear");
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(FadeImport, TheDefaultCurveIsEqualPower) {
    EXPECT_EQ(OnlyClip(ImportWithMetadata({{"fadeIn", 5}})).fades.curve, "equal-power");
    const TimelineImport import = ImportWithMetadata({{"fadeIn", 5}, {"fadeCurve", "steep"}});
    EXPECT_EQ(OnlyClip(import).fades.curve, "equal-power");
    EXPECT_EQ(Reported(import, "fadeCurve"), 1);
}

TEST(FadeImport, FadersOfForeignMetadataAreFadesInFrames) {
    const TimelineImport import = Import(Timeline(
        {Track({WithVolumeParameters({{{"Parameter ID", "faderIn"}, {"Parameter Value", 5}},
                                      {{"Parameter ID", "faderOut"}, {"Parameter Value", 6.0}},
                                      {{"Parameter ID", "volume"}, {"Parameter Value", -2}}})})}));

    EXPECT_EQ(OnlyClip(import).fades.inFrames, 5.0);
    EXPECT_EQ(OnlyClip(import).fades.outFrames, 6.0);
    EXPECT_EQ(OnlyClip(import).level.decibels, -2.0f);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(FadeImport, SonrelMetadataTakesPrecedenceOverForeignMetadata) {
    Json clip = WithVolumeParameters({{{"Parameter ID", "faderIn"}, {"Parameter Value", 5}},
                                      {{"Parameter ID", "faderOut"}, {"Parameter Value", 6}}});

    const TimelineImport import = Import(Timeline({Track({WithOurs(clip, {{"fadeIn", 9}})})}));

    EXPECT_EQ(OnlyClip(import).fades.inFrames, 9.0);
    EXPECT_EQ(OnlyClip(import).fades.outFrames, 6.0);
}

TEST(FadeImport, AnInvalidLengthIsListedAndIgnored) {
    for (const Json& length : {Json(-1), Json(2147483648.0), Json("long"), Json(nullptr)}) {
        const TimelineImport import = ImportWithMetadata({{"fadeIn", length}, {"fadeOut", 4}});

        EXPECT_EQ(OnlyClip(import).fades.inFrames, 0.0);
        EXPECT_EQ(OnlyClip(import).fades.outFrames, 4.0);
        EXPECT_EQ(Reported(import, "fadeIn", "not a length"), 1);
    }
}

TEST(FadeImport, LongerThanTheirClipTheyAreListedWithWhatIsHeard) {
    const auto reported = [](const char* key, double length, const char* what) {
        Json clip = Clip("a", 0, 50);
        return Reported(Import(Timeline({Track({WithOurs(clip, {{key, length}})})})), what,
                        "it is longer than its clip");
    };

    EXPECT_EQ(reported("fadeIn", 50, "fade-in"), 0);
    EXPECT_EQ(reported("fadeIn", 51, "fade-in"), 1);
    EXPECT_EQ(reported("fadeOut", 50, "fade-out"), 0);
    EXPECT_EQ(reported("fadeOut", 51, "fade-out"), 1);
}

TEST(OwnMetadata, OfAnotherTypeThanAnObjectIsListed) {
    Json clip = Clip("a", 0, 50);
    clip["metadata"] = {{"sonrel", Json::array({1})}};
    Json track = Track({clip});
    track["metadata"] = {{"sonrel", "muted"}};
    Json timeline = Timeline({track});
    timeline["metadata"] = {{"sonrel", 3}};

    EXPECT_EQ(Reported(Import(timeline), "metadata.sonrel", "not an object"), 3);
    timeline["metadata"]["sonrel"] = nullptr;
    EXPECT_EQ(Reported(Import(timeline), "metadata.sonrel", "not an object"), 2);
}

TEST(FadeImport, IsLastInTheChain) {
    const TimelineImport import =
        ImportWithMetadata({{"fadeIn", 5}, {"effects", {Gain(1), Gain(2)}}});

    EXPECT_EQ(MakeChain(OnlyClip(import), 25.0, 48000).size(), 3u);
    const TimelineImport without = ImportWithMetadata({{"effects", {Gain(1), Gain(2)}}});
    EXPECT_EQ(MakeChain(OnlyClip(without), 25.0, 48000).size(), 2u);
}

TEST(FadeImport, ATrimShortensAFadeAndListsIt) {
    Json track = Track({WithOurs(Clip("a", 0, 50), {{"fadeIn", 5}, {"fadeOut", 10}})});
    track["source_range"] = Range(2, 44, 25);  // cuts off 2 frames at the start, 4 at the end

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_EQ(OnlyClip(import).fades.inFrames, 3.0);
    EXPECT_EQ(OnlyClip(import).fades.outFrames, 6.0);
    EXPECT_EQ(Reported(import, "fade", "cut off"), 1);
}

TEST(FadeImport, ATrimMayRemoveAWholeFade) {
    Json track = Track({WithOurs(Clip("a", 0, 50), {{"fadeIn", 5}})});
    track["source_range"] = Range(5, 45, 25);

    EXPECT_EQ(OnlyClip(Import(Timeline({track}))).fades.inFrames, 0.0);
}

}  // namespace
}  // namespace orlo::host
