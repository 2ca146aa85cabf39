// SPDX-License-Identifier: MIT
#include "host/otio/MediaReferences.h"

#include <gmock/gmock.h>

#include "host/otio/JsonDocument.h"
#include "tests/host/TimelineDocument.h"

namespace orlo::host::otio {
namespace {

using sonrel_tests::Clip;
using sonrel_tests::File;
using sonrel_tests::Json;
using sonrel_tests::Named;
using sonrel_tests::Stack;
using sonrel_tests::Timeline;
using sonrel_tests::Track;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> UsesIn(const Json& document) {
    const MediaResolver resolver("/edit", {{"/old", "/new"}},
                                 [](const std::string&) { return true; });
    std::vector<std::string> uses;
    for (const ReferencedMedia& media :
         ReferencedMediaOf(ParseDocument(document.dump()), resolver)) {
        uses.push_back(media.path + ": " + media.use);
    }
    return uses;
}

TEST(MediaReferences, IncludesTracksOfEveryKind) {
    EXPECT_THAT(
        UsesIn(Timeline({Track({Named(Clip("a.wav", 0, 1), "one")}),
                         Track({Named(Clip("v.mp4", 0, 1), "two")}, "V1", "Video"),
                         Track({Clip("t.txt", 0, 1)}, "S1", "Subtitles")})),
        ElementsAre("/edit/a.wav: clip 'one' on track 1", "/edit/v.mp4: clip 'two' on track 2",
                    "/edit/t.txt: clip 'clip' on track 3"));
}

TEST(MediaReferences, ReportsNestedClipsOnTheOuterTrack) {
    EXPECT_THAT(UsesIn(Timeline({Track({Stack({Track({Named(Clip("in.wav", 0, 1), "inner")})})})})),
                ElementsAre("/edit/in.wav: clip 'inner' on track 1"));
}

TEST(MediaReferences, IncludesInactiveReferences) {
    Json clip = Named(Clip("a.wav", 0, 1), "one");
    clip.erase("media_reference");
    clip["media_references"] = {{"DEFAULT_MEDIA", File("a.wav")}, {"proxy", File("small.wav")}};
    clip["active_media_reference_key"] = "proxy";

    EXPECT_THAT(UsesIn(Timeline({Track({clip})})),
                ElementsAre("/edit/a.wav: clip 'one' on track 1",
                            "/edit/small.wav: clip 'one' on track 1"));
}

TEST(MediaReferences, AppliesMediaRootsAndLeavesOutOtherMachines) {
    EXPECT_THAT(UsesIn(Timeline({Track({Named(Clip("/old/r.wav", 0, 1), ""),
                                        Clip("https://example.org/a.wav", 0, 1)})})),
                ElementsAre("/new/r.wav: a clip on track 1"));
}

TEST(MediaReferences, AnImageSequenceIsAFolderWithPrefixAndSuffix) {
    Json clip = Named(Clip("", 0, 1), "shot");
    clip["media_reference"] = {{"OTIO_SCHEMA", "ImageSequenceReference.1"},
                               {"target_url_base", "file:///old/frames"},
                               {"name_prefix", "shot."},
                               {"name_suffix", ".png"}};
    const MediaResolver resolver("/edit", {{"/old", "/new"}},
                                 [](const std::string&) { return true; });

    const std::vector<ReferencedMedia> media =
        ReferencedMediaOf(ParseDocument(Timeline({Track({clip}, "V1", "Video")}).dump()), resolver);

    ASSERT_EQ(media.size(), 1u);
    EXPECT_EQ(media[0].path, "/new/frames");
    EXPECT_EQ(media[0].use, "clip 'shot' on track 1");
    ASSERT_TRUE(media[0].images);
    EXPECT_EQ(media[0].images->prefix, "shot.");
    EXPECT_EQ(media[0].images->suffix, ".png");
}

TEST(MediaReferences, ListsAFileWithItsFirstUse) {
    EXPECT_THAT(UsesIn(Timeline({Track({Named(Clip("a.wav", 0, 1), "one")}),
                                 Track({Named(Clip("a.wav", 0, 1), "two")})})),
                ElementsAre("/edit/a.wav: clip 'one' on track 1"));
}

TEST(MediaReferences, IsEmptyForADocumentWithoutMedia) {
    EXPECT_THAT(UsesIn(Timeline({})), IsEmpty());
}

}  // namespace
}  // namespace orlo::host::otio
