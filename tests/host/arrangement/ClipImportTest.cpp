// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <limits>

#include "host/arrangement/TimelineImport.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::File;
using sonrel_tests::Gap;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::OnlyClip;
using sonrel_tests::Range;
using sonrel_tests::Reported;
using sonrel_tests::Timeline;
using sonrel_tests::TimeWarp;
using sonrel_tests::Track;

TimelineImport ImportClip(const Json& clip) {
    return Import(Timeline({Track({clip})}));
}

Json WithEffects(Json clip, std::vector<Json> effects) {
    clip["effects"] = effects;
    return clip;
}

Json ForeignEffect(const std::string& name, std::vector<Json> parameters) {
    return {{"OTIO_SCHEMA", "Effect.1"},
            {"effect_name", "effect"},
            {"metadata",
             {{"Resolve_OTIO",
               {{"Effect Name", name}, {"Enabled", true}, {"Parameters", parameters}}}}}};
}

Json Volume(std::vector<Json> parameters) {
    return ForeignEffect("Fairlight Clip Volume and Fades", std::move(parameters));
}

// ---- in-points and speed

TEST(ClipInPoint, IsTheStartOfTheRangeWithoutAnAvailableRange) {
    EXPECT_EQ(OnlyClip(ImportClip(Clip("a", 30, 50))).sourceStartFrame, 30);
}

TEST(ClipInPoint, CountsFromTheStartOfTheMedia) {
    Json clip = Clip("a", 90030, 50);
    clip["media_reference"]["available_range"] = Range(90000, 1000, 25);

    EXPECT_EQ(OnlyClip(ImportClip(clip)).sourceStartFrame, 30);
}

TEST(ClipInPoint, RatesOfTheTwoRangesMayDiffer) {
    Json clip = Clip("a", 50, 50);                                               // 2 s
    clip["media_reference"]["available_range"] = Range(48000, 48000000, 48000);  // 1 s

    EXPECT_EQ(OnlyClip(ImportClip(clip)).sourceStartFrame, 25);
}

TEST(ClipInPoint, WithoutASourceRangeTheWholeAvailableRangeSounds) {
    Json clip = Clip("a", 0, 0);
    clip.erase("source_range");
    clip["media_reference"]["available_range"] = Range(100, 40, 25);

    const PlacedClip placed = OnlyClip(ImportClip(clip));

    EXPECT_EQ(placed.sourceStartFrame, 0);
    EXPECT_EQ(placed.endFrame, 40);
}

TEST(ClipInPoint, AClipWithoutAnyRangeIsLeftOutAndListed) {
    Json clip = Clip("a", 0, 0);
    clip.erase("source_range");

    const TimelineImport import = ImportClip(clip);

    EXPECT_TRUE(import.arrangement.tracks.at(0).clips.empty());
    EXPECT_EQ(Reported(import, "clip", "neither a source_range"), 1);
}

TEST(ClipInPoint, IsDividedByTheSpeed) {
    // 75 frames into the media at speed 1.5: the engine multiplies 50 by the speed again.
    EXPECT_EQ(
        OnlyClip(ImportClip(WithEffects(Clip("a", 75, 50), {TimeWarp(1.5)}))).sourceStartFrame, 50);
    // 10 / 0.75 is 13.33, 11 / 0.75 is 14.67.
    EXPECT_EQ(
        OnlyClip(ImportClip(WithEffects(Clip("a", 10, 50), {TimeWarp(0.75)}))).sourceStartFrame,
        13);
    EXPECT_EQ(
        OnlyClip(ImportClip(WithEffects(Clip("a", 11, 50), {TimeWarp(0.75)}))).sourceStartFrame,
        15);
}

TEST(ClipInPoint, ATrimMovesItByTheSpeed) {
    Json track = Track({WithEffects(Clip("a", 20, 100), {TimeWarp(2.0)})});
    track["source_range"] = Range(10, 50, 25);

    // 20 + 10 * 2 frames into the media, at speed 2.
    EXPECT_EQ(OnlyClip(Import(Timeline({track}))).sourceStartFrame, 20);
}

TEST(ClipInPoint, AClipIsSilentBeforeItsMedia) {
    Json clip = Clip("a", 90, 50);
    clip["media_reference"]["available_range"] = Range(100, 1000, 25);

    const TimelineImport import = ImportClip(clip);

    EXPECT_EQ(OnlyClip(import).startFrame, 10);
    EXPECT_EQ(OnlyClip(import).endFrame, 50);
    EXPECT_EQ(OnlyClip(import).sourceStartFrame, 0);
    EXPECT_EQ(OnlyClip(import).framesBeforeMedia, 10);
}

TEST(ClipInPoint, AClipThatEndsBeforeItsMediaIsUnheard) {
    Json clip = Clip("a", 50, 50);
    clip["media_reference"]["available_range"] = Range(100, 1000, 25);

    const TimelineImport import = ImportClip(clip);

    EXPECT_TRUE(import.arrangement.tracks.at(0).clips.empty());
    ASSERT_EQ(import.arrangement.tracks.at(0).unheard.size(), 1u);
    EXPECT_EQ(import.arrangement.tracks.at(0).unheard[0].startFrame, 0);
    EXPECT_EQ(import.arrangement.tracks.at(0).unheard[0].endFrame, 50);
    EXPECT_EQ(import.arrangement.tracks.at(0).unheard[0].framesBeforeMedia, 50);
}

TEST(ClipInPoint, AClipWithAnInPointOutOfRangeIsLeftOutAndListed) {
    const TimelineImport import = ImportClip(Clip("a", 1e30, 50));

    EXPECT_TRUE(import.arrangement.tracks.at(0).clips.empty());
    EXPECT_EQ(Reported(import, "clip", "in-point is out of range"), 1);
    EXPECT_EQ(OnlyClip(ImportClip(Clip("a", 2147483647, 50))).sourceStartFrame, 2147483647);
}

TEST(ClipSpeed, TimeWarpsMultiply) {
    EXPECT_EQ(
        OnlyClip(ImportClip(WithEffects(Clip("a", 0, 50), {TimeWarp(1.5), TimeWarp(0.5)}))).speed,
        0.75);
}

TEST(ClipSpeed, ADisabledTimeWarpCountsAsAbsent) {
    Json warp = TimeWarp(2.0);
    warp["enabled"] = false;

    EXPECT_EQ(OnlyClip(ImportClip(WithEffects(Clip("a", 0, 50), {warp}))).speed, 1.0);
}

TEST(ClipSpeed, AClipThatCannotBeRenderedIsMutedAndListed) {
    const auto reason = [](const Json& effect) {
        const TimelineImport import = ImportClip(WithEffects(Clip("a", 0, 50), {effect}));
        EXPECT_TRUE(OnlyClip(import).muted);
        EXPECT_EQ(OnlyClip(import).speed, 1.0);
        return import.report.Entries().at(0).reason;
    };

    EXPECT_EQ(reason(TimeWarp(0.0)), "a freeze frame has no sound; it is muted");
    EXPECT_EQ(reason(TimeWarp(-1.0)), "reversed sound cannot be rendered; it is muted");
    EXPECT_EQ(reason({{"OTIO_SCHEMA", "FreezeFrame.1"}, {"time_scalar", 0}}),
              "a freeze frame has no sound; it is muted");
    EXPECT_EQ(reason({{"OTIO_SCHEMA", "TimeEffect.1"}}),
              "a speed that changes cannot be rendered; it is muted");
    EXPECT_EQ(reason({{"OTIO_SCHEMA", "LinearTimeWarp.1"}, {"time_scalar", nullptr}}),
              "a time warp without a finite time_scalar; it is muted");
}

TEST(ClipSpeed, RangesFromOneHundredthToOneHundred) {
    const auto muted = [](double speed) {
        return OnlyClip(ImportClip(WithEffects(Clip("a", 0, 50), {TimeWarp(speed)}))).muted;
    };

    EXPECT_FALSE(muted(0.01));
    EXPECT_TRUE(muted(0.0099));
    EXPECT_FALSE(muted(100.0));
    EXPECT_TRUE(muted(100.1));
    EXPECT_TRUE(muted(1e308));
    EXPECT_TRUE(muted(5e-324));
}

// ---- mute

TEST(ClipMute, ADisabledClipIsMuted) {
    Json clip = Clip("a", 0, 50);
    clip["enabled"] = false;

    EXPECT_TRUE(OnlyClip(ImportClip(clip)).muted);
}

TEST(ClipMute, SonrelMetadataMutes) {
    Json clip = Clip("a", 0, 50);
    clip["metadata"]["sonrel"] = {{"muted", true}};

    EXPECT_TRUE(OnlyClip(ImportClip(clip)).muted);
}

TEST(ClipMute, AValueThatIsNotABooleanIsListedAndIgnored) {
    Json clip = Clip("a", 0, 50);
    clip["enabled"] = "no";

    const TimelineImport import = ImportClip(clip);

    EXPECT_FALSE(OnlyClip(import).muted);
    EXPECT_EQ(Reported(import, "enabled", "it is a string"), 1);
}

// ---- media

TEST(ClipMedia, TheActiveReferenceOfSeveralIsUsed) {
    Json clip = Clip("", 0, 50);
    clip.erase("media_reference");
    clip["OTIO_SCHEMA"] = "Clip.2";
    clip["media_references"] = {{"DEFAULT_MEDIA", File("/full.wav")},
                                {"proxy", File("/proxy.wav")}};

    EXPECT_EQ(OnlyClip(ImportClip(clip)).media.path, "/full.wav");
    clip["active_media_reference_key"] = "proxy";
    EXPECT_EQ(OnlyClip(ImportClip(clip)).media.path, "/proxy.wav");
}

TEST(ClipMedia, WhereTheActiveReferenceDoesNotExistAnotherOneIsUsedAndListed) {
    const auto import = [](const Json& references, const Json& active) {
        Json clip = Clip("", 30, 50);
        clip["media_references"] = references;
        clip["active_media_reference_key"] = active;
        return ImportClip(clip);
    };
    Json proxy = File("/proxy.wav");
    proxy["available_range"] = Range(10, 100, 25);
    const Json full = File("/full.wav");
    const std::string key = "active_media_reference_key";

    const TimelineImport only = import({{"proxy", proxy}}, "lost");
    EXPECT_EQ(OnlyClip(only).media.path, "/proxy.wav");
    EXPECT_EQ(OnlyClip(only).sourceStartFrame, 20);
    EXPECT_EQ(Reported(only, key, "the clip has no media reference 'lost'; 'proxy' is used"), 1);
    const TimelineImport byDefault =
        import({{"alternate", proxy}, {"DEFAULT_MEDIA", full}}, "lost");
    EXPECT_EQ(OnlyClip(byDefault).media.path, "/full.wav");
    EXPECT_EQ(Reported(byDefault, key, "'DEFAULT_MEDIA' is used"), 1);
    const TimelineImport first = import({{"small", proxy}, {"large", full}}, nullptr);
    EXPECT_EQ(OnlyClip(first).media.path, "/full.wav");
    EXPECT_EQ(Reported(first, key, "no media reference 'DEFAULT_MEDIA'; 'large' is used"), 1);
    EXPECT_EQ(Reported(import({{"DEFAULT_MEDIA", full}}, nullptr), key), 0);
}

TEST(ClipMedia, AClipWithoutAMediaFileIsListedAndTakesItsTime) {
    const auto import = [](const Json& reference) {
        Json clip = Clip("", 0, 50);
        clip["media_reference"] = reference;
        return Import(Timeline({Track({clip, Clip("b", 0, 10)})}));
    };

    EXPECT_EQ(Reported(import(nullptr), "clip", "no media file"), 1);
    EXPECT_EQ(Reported(import({{"OTIO_SCHEMA", "MissingReference.1"}}), "clip", "no media file"),
              1);
    EXPECT_EQ(Reported(import({{"OTIO_SCHEMA", "GeneratorReference.1"}}), "clip", "generator"), 1);
    EXPECT_EQ(
        Reported(import({{"OTIO_SCHEMA", "ImageSequenceReference.1"}}), "clip", "image sequence"),
        1);
    EXPECT_EQ(Reported(import({{"OTIO_SCHEMA", "Tape.1"}}), "clip", "'Tape'"), 1);
    EXPECT_EQ(Reported(import(File("")), "clip", "does not name a file"), 1);
    EXPECT_EQ(OnlyClip(import(nullptr)).startFrame, 50);
}

TEST(ClipMedia, AUrlThatIsNotAStringDoesNotNameAFile) {
    Json clip = Clip("", 0, 50);
    clip["media_reference"]["target_url"] = {1, 2};

    EXPECT_EQ(Reported(ImportClip(clip), "clip", "does not name a file"), 1);
}

TEST(ClipMedia, AStreamThatIsNotANumberIsListedAndTheFirstIsUsed) {
    for (const Json& stream : {Json(-1), Json("x"), Json(1e30), Json(5000)}) {
        Json clip = Clip("a", 0, 50);
        clip["metadata"]["Resolve_OTIO"]["Channels"] = {{{"Source Track ID", stream}}};

        const TimelineImport import = ImportClip(clip);

        EXPECT_EQ(OnlyClip(import).sound.Stream(), 0) << stream;
        EXPECT_EQ(Reported(import, "source stream"), 1) << stream;
    }
}

// ---- levels

TEST(ClipLevel, ANumberIsInDecibels) {
    Json clip = Clip("a", 0, 50);
    clip["metadata"]["sonrel"] = {{"audioLevel", -12.5}};

    const PlacedClip placed = OnlyClip(ImportClip(clip));

    EXPECT_EQ(placed.level.decibels, -12.5f);
    EXPECT_TRUE(placed.level.keys.empty());
}

TEST(ClipLevel, KeysAreSortedAndRoundedToMilliseconds) {
    Json clip = Clip("a", 0, 50);
    clip["metadata"]["sonrel"] = {{"audioLevel", {{1000.5, -6}, {-20, 3}, {0.4, 0}}}};

    const auto keys = OnlyClip(ImportClip(clip)).level.keys;

    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[0].timeMs, -20);
    EXPECT_EQ(keys[1].timeMs, 0);
    EXPECT_EQ(keys[2].timeMs, 1001);
    EXPECT_EQ(keys[2].decibels, -6.0f);
}

TEST(ClipLevel, ATrimMovesTheKeys) {
    Json clip = Clip("a", 0, 100);
    clip["metadata"]["sonrel"] = {{"audioLevel", {{0, -6}, {2000, 0}}}};
    Json track = Track({clip});
    track["source_range"] = Range(25, 50, 25);

    const auto keys = OnlyClip(Import(Timeline({track}))).level.keys;

    EXPECT_EQ(keys.at(0).timeMs, -1000);
    EXPECT_EQ(keys.at(1).timeMs, 1000);
}

TEST(ClipLevel, AValueThatIsNotALevelIsListedAndIgnored) {
    for (const Json& level :
         {Json("loud"), Json(nullptr), Json(true), Json(1e39), Json::object()}) {
        Json clip = Clip("a", 0, 50);
        clip["metadata"]["sonrel"] = {{"audioLevel", level}};

        const TimelineImport import = ImportClip(clip);

        EXPECT_EQ(OnlyClip(import).level.decibels, std::nullopt) << level;
        EXPECT_EQ(Reported(import, "audioLevel"), 1) << level;
    }
}

TEST(ClipLevel, KeysThatAreNotPairsAreListedAndLeftOut) {
    Json clip = Clip("a", 0, 50);
    clip["metadata"]["sonrel"] = {
        {"audioLevel", {{0, -6}, {1}, 7, {"x", 1}, {100, "y"}, {1, 2, 3}, {1e300, 0}}}};

    const TimelineImport import = ImportClip(clip);

    EXPECT_EQ(OnlyClip(import).level.keys.size(), 1u);
    EXPECT_EQ(Reported(import, "audioLevel"), 5);
    EXPECT_EQ(Reported(import, "level key", "out of range"), 1);
}

TEST(ClipLevel, TheVolumeOfForeignMetadataIsInDecibels) {
    const Json clip = WithEffects(
        Clip("a", 0, 50), {Volume({{{"Parameter ID", "volume"}, {"Parameter Value", -7.25}}})});

    EXPECT_EQ(OnlyClip(ImportClip(clip)).level.decibels, -7.25f);
}

TEST(ClipLevel, KeyFramesOfForeignMetadataCountFramesFromTheStartOfTheClip) {
    const Json clip = WithEffects(Clip("a", 0, 50, 24),
                                  {Volume({{{"Parameter ID", "volume"},
                                            {"Parameter Value", 1.0},
                                            {"Key Frames",
                                             {{"10", {{"Value", -3.0}, {"Variant Type", "Double"}}},
                                              {"1", {{"Value", -9.0}}}}}}})});

    const auto level = OnlyClip(ImportClip(clip)).level;

    ASSERT_EQ(level.keys.size(), 2u);
    EXPECT_EQ(level.decibels, std::nullopt);
    EXPECT_EQ(level.keys[0].timeMs, 42);  // 1 / 24 s is 41.67 ms
    EXPECT_EQ(level.keys[0].decibels, -9.0f);
    EXPECT_EQ(level.keys[1].timeMs, 417);
    EXPECT_EQ(level.keys[1].decibels, -3.0f);
}

TEST(ClipLevel, SonrelMetadataTakesPrecedenceOverForeignMetadata) {
    Json clip = WithEffects(Clip("a", 0, 50),
                            {Volume({{{"Parameter ID", "volume"}, {"Parameter Value", -7.25}}})});
    clip["metadata"]["sonrel"] = {{"audioLevel", 1.0}};

    EXPECT_EQ(OnlyClip(ImportClip(clip)).level.decibels, 1.0f);
}

// ---- effects

TEST(ClipEffects, AreListedByName) {
    const TimelineImport import = ImportClip(
        WithEffects(Clip("a", 0, 50), {{{"OTIO_SCHEMA", "Effect.1"}, {"effect_name", "Blur"}},
                                       {{"OTIO_SCHEMA", "Effect.1"}, {"name", "Echo"}},
                                       {{"OTIO_SCHEMA", "Wobble.1"}}}));

    EXPECT_EQ(Reported(import, "effect 'Blur'"), 1);
    EXPECT_EQ(Reported(import, "effect 'Echo'"), 1);
    EXPECT_EQ(Reported(import, "effect 'Wobble'"), 1);
}

TEST(ClipEffects, EffectsOfForeignMetadataAreListedUnlessTheyDoNothing) {
    Json disabled = ForeignEffect("Pan", {{{"Parameter ID", "pan"}}});
    disabled["metadata"]["Resolve_OTIO"]["Enabled"] = false;

    const TimelineImport import =
        ImportClip(WithEffects(Clip("a", 0, 50), {ForeignEffect("EQ", {{{"Parameter ID", "f"}}}),
                                                  ForeignEffect("Pitch", {}), disabled}));

    EXPECT_EQ(Reported(import, "effect 'EQ'"), 1);
    EXPECT_EQ(import.report.Entries().size(), 1u);
}

// ---- the report

TEST(ImportReportEntries, PartsOfTheSameKindShareAnEntryOnAllTracks) {
    ImportReport report;
    report.Add("transition", {"track 1", "item 2"}, "why");
    report.Add("transition", {"track 1", "item 4"}, "why");
    report.Add("transition", {"track 2", "item 2"}, "why");
    report.Add("transition", {"track 1", "item 6"}, "another reason");

    const auto entries = report.Entries();

    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].count, 3);
    EXPECT_EQ(entries[0].where, "track 1, item 2, item 4; track 2, item 2");
    EXPECT_EQ(entries[1].reason, "another reason");
}

TEST(ImportReportEntries, WholeTracksAreNamedOnce) {
    ImportReport report;
    report.Add("video track", {"track 1", ""}, "why");
    report.Add("video track", {"track 2", ""}, "why");
    report.Add("video track", {"track 2", ""}, "why");

    ASSERT_EQ(report.Entries().size(), 1u);
    EXPECT_EQ(report.Entries()[0].where, "track 1, track 2");
    EXPECT_EQ(report.Entries()[0].count, 3);
}

TEST(ImportReportEntries, SilenceComesBeforeChangesAndChangesBeforeNotes) {
    ImportReport report;
    report.Add("video track", {"track 1", ""}, "no sound", Severity::Note);
    report.Add("effect", {"track 2", "item 1"}, "first", Severity::Change);
    report.Add("effect", {"track 2", "item 2"}, "second", Severity::Change);
    report.Add("clip", {"track 2", "item 3"}, "silent", Severity::Silence);

    std::vector<std::string> reasons;
    for (const auto& entry : report.Entries()) reasons.push_back(entry.reason);

    EXPECT_EQ(reasons, (std::vector<std::string>{"silent", "first", "second", "no sound"}));
}

TEST(ImportReportEntries, AnEntryNamesAtMostEightPlaces) {
    ImportReport report;
    for (int i = 1; i <= 9; ++i) report.Add("gap", {"track 1", "item " + std::to_string(i)}, "why");

    EXPECT_EQ(report.Entries().at(0).count, 9);
    EXPECT_EQ(report.Entries().at(0).where,
              "track 1, item 1, item 2, item 3, item 4, item 5, item 6, item 7, item 8 and more");
}

}  // namespace
}  // namespace orlo::host::otio
