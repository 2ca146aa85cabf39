// SPDX-License-Identifier: MIT
#include "host/arrangement/MediaStarts.h"

#include <gtest/gtest.h>

#include "tests/host/arrangement/ImportRig.h"

namespace sonrel_tests {
namespace {

using orlo::host::otio::ImportOptions;
using orlo::host::otio::MediaClock;
using orlo::host::otio::TimelineImport;

/// 40 seconds from 01:00:00:00 on.
const MediaClock HOUR{40.0, 3600.0, "01:00:00:00", {}};
const MediaClock WITHOUT_TIMECODE{40.0, {}, {}, {}};

Json WithAvailable(Json clip, double start, double duration = 1000) {
    clip["media_reference"]["available_range"] = Range(start, duration, 25);
    return clip;
}

TimelineImport ImportWith(const Json& document, const std::optional<MediaClock>& clock,
                          int* reads = nullptr) {
    ImportOptions options;
    options.mediaClockOf = [&, clock](const std::string& path, double) {
        EXPECT_EQ(path, "/edit/a.mov");
        if (reads != nullptr) ++*reads;
        return clock;
    };
    return Import(document, options);
}

int InPointOfClip(const TimelineImport& import, std::size_t clip) {
    return import.arrangement.tracks.at(0).clips.at(clip).sourceStartFrame;
}

TEST(MediaStarts, AnInPointInsideTheTimecodeOfItsFileCountsFromItAndIsListedAsAGuess) {
    // 01:00:12:00 of a file that begins at 01:00:00:00.
    const auto import = ImportWith(Timeline({Track({Clip("a.mov", 90300, 50)})}), HOUR);

    EXPECT_EQ(InPointOfClip(import, 0), 300);
    EXPECT_EQ(Reported(import, "clip", "as a guess, it counts from the timecode of the file"), 1);
}

TEST(MediaStarts, AnInPointInsideTheFileCountsFromItsBeginning) {
    const auto import = ImportWith(Timeline({Track({Clip("a.mov", 300, 50)})}),
                                   MediaClock{40.0, 8.0, "00:00:08:00", {}});

    EXPECT_EQ(InPointOfClip(import, 0), 300);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(MediaStarts, AnInPointOutsideFileAndTimecodeStays) {
    const auto import = ImportWith(Timeline({Track({Clip("a.mov", 180000, 50)})}), HOUR);

    EXPECT_EQ(InPointOfClip(import, 0), 180000);
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(MediaStarts, AnAvailableRangeIsNotReplacedByAGuess) {
    const auto import =
        ImportWith(Timeline({Track({WithAvailable(Clip("a.mov", 90300, 50), 0)})}), HOUR);

    EXPECT_EQ(InPointOfClip(import, 0), 90300);
}

TEST(MediaStarts, TheTimecodeDecidesBetweenRangesThatContradictEachOther) {
    // The second range begins 100 frames into the file. Both clips ask for 01:00:08:00.
    const auto import =
        ImportWith(Timeline({Track({WithAvailable(Clip("a.mov", 90200, 50), 90000),
                                    WithAvailable(Clip("a.mov", 90200, 50), 90100)})}),
                   HOUR);

    EXPECT_EQ(InPointOfClip(import, 0), 200);
    EXPECT_EQ(InPointOfClip(import, 1), 200);
    EXPECT_EQ(Reported(import, "clip", "it counts from the timecode of the file, 01:00:00:00"), 1);
}

TEST(MediaStarts, ARangeWhoseInPointIsOutsideTheTimecodeCountsAloneAndIsReported) {
    const auto import = ImportWith(Timeline({Track({WithAvailable(Clip("a.mov", 90200, 50), 90000),
                                                    WithAvailable(Clip("a.mov", 30, 50), 0)})}),
                                   HOUR);

    EXPECT_EQ(InPointOfClip(import, 0), 200);
    EXPECT_EQ(InPointOfClip(import, 1), 30);
    EXPECT_EQ(Reported(import, "clip", "it counts from its own range"), 1);
}

TEST(MediaStarts, AContradictionWithoutATimecodeIsOneEntry) {
    const auto import =
        ImportWith(Timeline({Track({WithAvailable(Clip("a.mov", 90200, 50), 90000),
                                    WithAvailable(Clip("a.mov", 90200, 50), 90100)})}),
                   WITHOUT_TIMECODE);

    EXPECT_EQ(InPointOfClip(import, 0), 200);
    EXPECT_EQ(InPointOfClip(import, 1), 100);
    ASSERT_EQ(import.report.Entries().size(), 1u);
    EXPECT_EQ(import.report.Entries()[0].what, "media file");
    EXPECT_EQ(
        import.report.Entries()[0].reason,
        "the available_range of its clips begins at 3600 s and at 3604 s, and the file has no "
        "timecode that decides; each clip counts from its own range");
}

TEST(MediaStarts, ATimecodeThatIsNotUsableIsOneEntryOfItsFile) {
    const auto import =
        ImportWith(Timeline({Track({Clip("a.mov", 90300, 50), Clip("a.mov", 90400, 50)})}),
                   MediaClock{40.0, {}, {}, "its timecode is bad and is not used"});

    EXPECT_EQ(InPointOfClip(import, 0), 90300);
    EXPECT_EQ(Reported(import, "media file", "is not used"), 1);
}

TEST(MediaStarts, OnlyFilesWithoutAKnownStartAreRead) {
    int reads = 0;
    const Json known = WithAvailable(Clip("a.mov", 90200, 50), 90000);
    ImportWith(Timeline({Track({known, known, Clip("a.mov", 0, 50)})}), HOUR, &reads);
    EXPECT_EQ(reads, 0);

    ImportWith(Timeline({Track({Clip("a.mov", 90200, 50), Clip("a.mov", 90300, 50)})}), HOUR,
               &reads);
    EXPECT_EQ(reads, 1);
}

TEST(MediaStarts, AFileThatCannotBeReadChangesNothing) {
    const auto import = ImportWith(Timeline({Track({Clip("a.mov", 90300, 50)})}), std::nullopt);

    EXPECT_EQ(InPointOfClip(import, 0), 90300);
    EXPECT_TRUE(import.report.Entries().empty());
}

}  // namespace
}  // namespace sonrel_tests
