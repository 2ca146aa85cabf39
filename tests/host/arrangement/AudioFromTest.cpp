// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/arrangement/TimelineImport.h"
#include "tests/host/arrangement/ImportRig.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::Dissolve;
using sonrel_tests::Import;
using sonrel_tests::Json;
using sonrel_tests::Range;
using sonrel_tests::Reported;
using sonrel_tests::Stack;
using sonrel_tests::Timeline;
using sonrel_tests::Track;

Json VideoTrack(std::vector<Json> children, const std::string& name = "V1") {
    return Track(std::move(children), name, "Video");
}

TimelineImport ImportFrom(AudioFrom from, const Json& document) {
    ImportOptions options = sonrel_tests::OnWholeFrames();
    options.audioFrom = from;
    return Import(document, options);
}

std::vector<std::string> SoundingNames(const std::vector<PlacedTrack>& tracks) {
    std::vector<std::string> names;
    for (const PlacedTrack& track : tracks) names.push_back(track.name);
    return names;
}

using Names = std::vector<std::string>;

Names SoundingNames(const TimelineImport& import) {
    return SoundingNames(import.arrangement.tracks);
}

/// A clip without a media file of sound.
Json WithReference(const std::string& schema) {
    Json clip = Clip("", 0, 10);
    clip["media_reference"] = {{"OTIO_SCHEMA", schema}, {"target_url_base", "frames/"}};
    return clip;
}

TEST(AudioFrom, AutoTakesTheAudioTracksIfThereAreAny) {
    const Json document =
        Timeline({VideoTrack({Clip("v", 0, 50)}), Track({Clip("a", 0, 50)}, "A1")});

    const TimelineImport import = ImportFrom(AudioFrom::Auto, document);

    EXPECT_EQ(SoundingNames(import), Names{"A1"});
    EXPECT_EQ(import.soundKind, Track::Kind::Audio);
    EXPECT_EQ(Reported(import, "video track", "--audio-from video"), 1);
}

TEST(AudioFrom, AutoTakesAllVideoTracksWhereThereIsNoAudioTrack) {
    const Json document = Timeline({VideoTrack({Clip("a.mov", 10, 50)}, "V1"),
                                    VideoTrack({Clip("b.mov", 0, 20)}, "V2"),
                                    Track({Clip("c.srt", 0, 20)}, "S1", "Subtitle")});

    const TimelineImport import = ImportFrom(AudioFrom::Auto, document);

    EXPECT_EQ(SoundingNames(import), (Names{"V1", "V2"}));
    EXPECT_EQ(import.soundKind, Track::Kind::Video);
    EXPECT_EQ(import.arrangement.tracks[0].clips.at(0).sourceStartFrame, 10);
    EXPECT_EQ(import.arrangement.frameCount, 50);
    ASSERT_EQ(import.report.Entries().size(), 1u);
    EXPECT_EQ(import.report.Entries()[0].what, "track of kind 'Subtitle'");
}

TEST(AudioFrom, AudioTakesNoSoundOfVideoTracks) {
    const TimelineImport import =
        ImportFrom(AudioFrom::Audio, Timeline({VideoTrack({Clip("v", 0, 50)})}));

    EXPECT_TRUE(import.arrangement.tracks.empty());
    EXPECT_EQ(import.soundKind, Track::Kind::Audio);
    EXPECT_EQ(Reported(import, "video track", "--audio-from video"), 1);
}

TEST(AudioFrom, VideoTakesNoAudioTrack) {
    const TimelineImport import =
        ImportFrom(AudioFrom::Video, Timeline({VideoTrack({Clip("v", 0, 50)}), Track({}, "A1")}));

    EXPECT_EQ(SoundingNames(import), Names{"V1"});
    EXPECT_EQ(Reported(import, "audio track"), 1);
}

TEST(AudioFrom, TrackKindsAreReadInAnyCase) {
    const Json document =
        Timeline({Track({}, "A1", "audio"), Track({}, "V1", "VIDEO"), Track({}, "A2", "AUDIO")});

    EXPECT_EQ(SoundingNames(ImportFrom(AudioFrom::Auto, document)), (Names{"A1", "A2"}));
    EXPECT_EQ(SoundingNames(ImportFrom(AudioFrom::Video, document)), Names{"V1"});
}

TEST(AudioFrom, ABareVideoTrackSounds) {
    EXPECT_EQ(SoundingNames(ImportFrom(AudioFrom::Auto, VideoTrack({Clip("v", 0, 50)}))),
              Names{"V1"});
}

TEST(AudioFrom, ADissolveOnAVideoTrackIsACrossFade) {
    const TimelineImport import = ImportFrom(
        AudioFrom::Auto,
        Timeline({VideoTrack({Clip("a.mov", 0, 50), Dissolve(5, 5), Clip("b.mov", 50, 50)})}));

    ASSERT_EQ(import.arrangement.tracks.at(0).transitions.size(), 1u);
    EXPECT_EQ(import.arrangement.tracks[0].transitions[0].length, 10);
    EXPECT_EQ(import.arrangement.tracks[0].transitions[0].curve, "equal-power");
}

TEST(AudioFrom, ANestedItemOnAVideoTrackHasTheSoundOfItsOwnAudioTracksIfThereAreAny) {
    const Json both = Stack(
        {VideoTrack({Clip("v", 0, 30)}, "inner V"), Track({Clip("a", 0, 30)}, "inner A", "AUDIO")});
    const Json pictures = Stack({VideoTrack({Clip("v", 0, 30)}, "inner V")});
    const Json sound = Track({Clip("a", 0, 30)}, "only audio");

    const TimelineImport import =
        ImportFrom(AudioFrom::Auto, Timeline({VideoTrack({both, pictures, sound})}));

    const std::vector<PlacedClip>& items = import.arrangement.tracks.at(0).clips;
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(SoundingNames(items[0].composition->tracks), Names{"inner A"});
    EXPECT_EQ(SoundingNames(items[1].composition->tracks), Names{"inner V"});
    EXPECT_EQ(SoundingNames(items[2].composition->tracks), Names{"only audio"});
}

TEST(AudioFrom, InATimelineWithAudioTracksNestedVideoTracksAreSilent) {
    const TimelineImport import = ImportFrom(
        AudioFrom::Auto, Timeline({Track({Stack({VideoTrack({Clip("v", 0, 30)})})}, "A1")}));

    EXPECT_TRUE(import.arrangement.tracks.at(0).clips.at(0).composition->tracks.empty());
    EXPECT_EQ(Reported(import, "video track"), 1);
}

TEST(AudioFrom, PicturesWithoutSoundShareOneEntryWithTheirCount) {
    const TimelineImport import = ImportFrom(
        AudioFrom::Auto,
        Timeline({VideoTrack({WithReference("GeneratorReference.1"), Clip("title.PNG", 0, 10)}),
                  VideoTrack({WithReference("ImageSequenceReference.1"), Clip("a.mov", 0, 10)})}));

    ASSERT_EQ(import.report.Entries().size(), 1u);
    const ImportReport::Entry entry = import.report.Entries()[0];
    EXPECT_EQ(entry.what, "clip on a video track");
    EXPECT_EQ(entry.count, 3);
    EXPECT_EQ(entry.severity, Severity::Note);
    EXPECT_EQ(import.arrangement.tracks.at(1).clips.size(), 1u);
}

TEST(AudioFrom, AClipOfAVideoTrackWithoutAMediaFileIsSilence) {
    const TimelineImport import =
        ImportFrom(AudioFrom::Auto, Timeline({VideoTrack({WithReference("MissingReference.1")})}));

    ASSERT_EQ(import.report.Entries().size(), 1u);
    EXPECT_EQ(import.report.Entries()[0].severity, Severity::Silence);
}

TEST(AudioFrom, AnImageOnAnAudioTrackIsAMediaFileLikeAnyOther) {
    const TimelineImport import = Import(Timeline({Track({Clip("title.png", 0, 10)})}));

    EXPECT_EQ(import.arrangement.tracks.at(0).clips.at(0).media.path, "/edit/title.png");
}

TEST(AudioFrom, AllTracksAreSummarizedInTheOrderOfTheFile) {
    const TimelineImport import = ImportFrom(
        AudioFrom::Auto,
        Timeline({VideoTrack({Clip("v", 0, 5), Stack({}), Dissolve(1, 1)}), Track({}, "A1")}));

    ASSERT_EQ(import.allTracks.size(), 2u);
    EXPECT_EQ(import.allTracks[0].name, "V1");
    EXPECT_EQ(import.allTracks[0].kind, Track::Kind::Video);
    EXPECT_EQ(import.allTracks[0].clips, 2u);
    EXPECT_FALSE(import.allTracks[0].sounds);
    EXPECT_TRUE(import.allTracks[1].sounds);
}

}  // namespace
}  // namespace orlo::host::otio
