// SPDX-License-Identifier: MIT
#include "host/timeline/MediaComparison.h"

#include <gtest/gtest.h>

#include "tests/host/arrangement/ImportRig.h"

namespace sonrel_tests {
namespace {

using orlo::host::CompareWithMedia;
using orlo::host::MediaSounds;
using orlo::host::otio::ImportReport;

constexpr orlo::host::FrameGrid PAL{48000, 25.0};
/// 899 frames at 25 frames a second.
const MediaSounds SOUND_OF_899_FRAMES{{{"/edit/a.wav", {}}, {899 / 25.0, {}}}};

/// The entries that the comparison adds for an imported document.
std::vector<ImportReport::Entry> Compared(const Json& document,
                                          const MediaSounds& sounds = SOUND_OF_899_FRAMES) {
    const auto import = Import(document);
    ImportReport report;
    CompareWithMedia(import.arrangement.tracks, import.arrangement.frameCount, PAL, sounds, report);
    return report.Entries();
}

std::string OnlyReason(const std::vector<ImportReport::Entry>& entries) {
    EXPECT_EQ(entries.size(), 1u);
    return entries.empty() ? std::string() : entries.front().reason;
}

TEST(MediaComparison, AClipBeyondTheEndOfItsMediaIsReportedWithTrackClipFramesAndTimecode) {
    const auto entries = Compared(
        Timeline({Track({Clip("a.wav", 0, 899)}), Track({Gap(30), Clip("a.wav", 107992, 100)})}));

    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].what, "clip");
    EXPECT_EQ(entries[0].where, "track 2 'A1', item 2 'clip'");
    EXPECT_EQ(entries[0].reason,
              "it asks for frames 107992 to 108092, the file has 899; "
              "it is silent from 00:00:01:05 to 00:00:05:05");
}

TEST(MediaComparison, AClipThatBeginsBeforeItsMediaIsReportedWithFramesAndTimecode) {
    Json clip = Clip("a.wav", 90, 50);
    clip["media_reference"]["available_range"] = Range(100, 899, 25);

    EXPECT_EQ(OnlyReason(Compared(Timeline({Track({Gap(25), clip})}))),
              "it asks for frames -10 to 40, the file has 899; "
              "it is silent from 00:00:01:00 to 00:00:01:10");
}

TEST(MediaComparison, AClipThatEndsBeforeItsMediaIsReportedWithFramesAndTimecode) {
    // The media begin 100 frames after the in-point, at double speed 50 frames of the track.
    Json clip = Clip("a.wav", 0, 20);
    clip["media_reference"]["available_range"] = Range(100, 899, 25);
    clip["effects"].push_back(TimeWarp(2.0));

    EXPECT_EQ(OnlyReason(Compared(Timeline({Track({Gap(25), clip})}), {})),
              "it asks for frames -100 to -60, before its media; "
              "it is silent from 00:00:01:00 to 00:00:01:20");
    EXPECT_TRUE(Compared(Timeline({Track({WithOurs(clip, {{"muted", true}})})})).empty());
}

TEST(MediaComparison, ANestedItemThatBeginsBeforeItsContentIsReportedWithFramesAndTimecode) {
    const auto reason = [](double start) {
        const Json nested = WithRange(Stack({Track({Clip("a.wav", 0, 100)})}), start, 20);
        const auto entries = Compared(Timeline({Track({Gap(25), nested})}));
        EXPECT_EQ(entries.at(0).what, "nested Stack");
        return OnlyReason(entries);
    };

    EXPECT_EQ(reason(-5),
              "it asks for frames -5 to 15, its content has 100; "
              "it is silent from 00:00:01:00 to 00:00:01:05");
    EXPECT_EQ(reason(-20),
              "it asks for frames -20 to 0, before its content; "
              "it is silent from 00:00:01:00 to 00:00:01:20");
}

TEST(MediaComparison, ATransitionPlaysNoFramesOutsideItsClips) {
    // The dissolve would begin 40 frames before its join, but the clip before it has 30 frames.
    const Json document =
        Timeline({Track({Clip("a.wav", 100, 30), Dissolve(40, 0), Clip("a.wav", 35, 50)})});

    EXPECT_TRUE(Compared(document).empty());
}

TEST(MediaComparison, AClipThatEndsWithItsMediaIsNotReported) {
    EXPECT_TRUE(Compared(Timeline({Track({Clip("a.wav", 0, 899)})})).empty());
}

TEST(MediaComparison, SilenceOfMoreThanHalfAMillisecondIsReported) {
    // A clip of 900 frames, that is 36 s.
    const Json document = Timeline({Track({Clip("a.wav", 0, 900)})});

    EXPECT_TRUE(Compared(document, {{{"/edit/a.wav", {}}, {35.9996, {}}}}).empty());
    EXPECT_EQ(OnlyReason(Compared(document, {{{"/edit/a.wav", {}}, {35.998, {}}}})),
              "it asks for frames 0 to 900, the file has 899.95; "
              "it is silent from 00:00:35:24 to 00:00:36:00");
}

TEST(MediaComparison, TheSpeedScalesTheFramesThatAClipAsksFor) {
    // Frames 600 to 1000 of the media at double speed: the media ends after 149.5 of 200 frames.
    Json fast = Clip("a.wav", 600, 200);
    fast["effects"].push_back(TimeWarp(2.0));

    EXPECT_EQ(OnlyReason(Compared(Timeline({Track({fast})}))),
              "it asks for frames 600 to 1000, the file has 899; "
              "it is silent from 00:00:05:24 to 00:00:08:00");
}

TEST(MediaComparison, TheFramesThatATransitionPlaysCount) {
    // Both clips are inside their media, but the dissolve plays 4 frames before and 6 after them.
    const Json document =
        Timeline({Track({Clip("a.wav", 799, 100), Dissolve(4, 6), Clip("a.wav", 0, 100)})});

    const auto entries = Compared(document);

    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].reason,
              "it asks for frames 799 to 905, the file has 899; "
              "it is silent from 00:00:04:00 to 00:00:04:06");
    EXPECT_EQ(entries[1].reason,
              "it asks for frames -4 to 100, the file has 899; "
              "it is silent from 00:00:03:21 to 00:00:04:00");
}

TEST(MediaComparison, AClipInANestedItemIsComparedOnTheFramesThatSound) {
    // The item shows frames 10 to 60 of its stack, in which the media end at frame 49.
    Json nested = Stack({Track({Clip("a.wav", 850, 100)})});
    nested["source_range"] = Range(10, 50, 25);

    EXPECT_EQ(OnlyReason(Compared(Timeline({Track({Gap(5), nested})}))),
              "it asks for frames 860 to 910, the file has 899; "
              "it is silent from 00:00:01:19 to 00:00:02:05");
    nested["source_range"] = Range(10, 39, 25);
    EXPECT_TRUE(Compared(Timeline({Track({Gap(5), nested})})).empty());
}

TEST(MediaComparison, ANestedItemThatShowsNoneOfItsContentIsReported) {
    Json nested = Named(Stack({Track({Clip("a.wav", 0, 100)})}), "scene");
    nested["source_range"] = Range(90000, 50, 25);

    const auto entries = Compared(Timeline({Track({nested})}));

    EXPECT_EQ(OnlyReason(entries),
              "it asks for frames 90000 to 90050, its content has 100; "
              "it is silent from 00:00:00:00 to 00:00:02:00");
    EXPECT_EQ(entries.front().what, "nested Stack");
}

TEST(MediaComparison, AMutedClipIsNotCompared) {
    const Json muted = WithOurs(Clip("a.wav", 5000, 100), {{"muted", true}});

    EXPECT_TRUE(Compared(Timeline({Track({muted})})).empty());
}

TEST(MediaComparison, EachClipOfMediaWithoutSoundIsReported) {
    const MediaSounds silent{{{"/edit/a.wav", {}}, {0.0, {"its media file has no sound", {}}}}};

    const auto entries =
        Compared(Timeline({Track({Clip("a.wav", 0, 10), Clip("a.wav", 0, 10)}, "A1"),
                           Track({Clip("a.wav", 0, 10)}, "A2")}),
                 silent);

    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].count, 3);
    EXPECT_EQ(entries[0].where,
              "track 1 'A1', item 1 'clip', item 2 'clip'; track 2 'A2', item 1 'clip'");
    EXPECT_EQ(entries[0].reason, "its media file has no sound");
}

TEST(MediaComparison, CountsEachClipOnceByItsSound) {
    const Json muted = WithOurs(Clip("a.wav", 0, 10), {{"muted", true}});
    const Json nested =
        WithRange(Stack({Track({Clip("a.wav", 0, 20), Clip("a.wav", 0, 20)})}), 0, 30);
    const auto import = Import(Timeline({Track(
        {Clip("a.wav", 0, 10), muted, nested, Clip("gone.wav", 0, 10), Clip("gone.wav", 5, 10),
         Clip("dumb.wav", 0, 10), Clip("sick.wav", 0, 10), Clip("a.wav", 889, 20)})}));
    MediaSounds sounds = SOUND_OF_899_FRAMES;
    sounds[{"/edit/gone.wav", {}}] = {0.0, {orlo::host::MISSING_MEDIA_REASON, {}}};
    sounds[{"/edit/dumb.wav", {}}] = {0.0, {"its media file has no sound", {}}};
    ImportReport report;

    const orlo::host::ClipTally clips = CompareWithMedia(
        import.arrangement.tracks, import.arrangement.frameCount, PAL, sounds, report);

    EXPECT_EQ(clips.whole, 3);
    EXPECT_EQ(clips.muted, 1);
    EXPECT_EQ(clips.missing, 2);
    EXPECT_EQ(clips.missingFiles.size(), 1u);
    EXPECT_EQ(clips.soundless, 1);
    EXPECT_EQ(clips.unread, 1);
    EXPECT_EQ(clips.beyond, 1);
    // 10 of its 20 frames.
    EXPECT_NEAR(clips.longestSilence, 0.4, 1e-9);
    EXPECT_EQ(clips.Clips(), 9);
}

}  // namespace
}  // namespace sonrel_tests
