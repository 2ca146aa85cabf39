// SPDX-License-Identifier: MIT
#include "host/report/PageWriter.h"

#include <gtest/gtest.h>

#include "host/report/LaneWriter.h"
#include "host/report/PageEntries.h"

namespace orlo::host {
namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int CountOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

PageClip ClipFrom(double start, double end) {
    PageClip clip;
    clip.id = "p2";
    clip.name = "clip";
    clip.start = start;
    clip.end = end;
    return clip;
}

PageLane LaneWith(const PageClip& clip) {
    PageLane lane;
    lane.id = "p1";
    lane.name = "lane";
    lane.clips = {clip};
    return lane;
}

TEST(PageWriter, PositionsArePercentagesOfTheLane) {
    const std::string row = LaneRow(LaneWith(ClipFrom(2.5, 5.0)), 10.0);

    EXPECT_TRUE(Contains(row, R"(style="left:25%;width:25%")")) << row;
}

TEST(PageWriter, PositionsInANestedItemArePercentagesOfTheItem) {
    PageClip item = ClipFrom(2.0, 6.0);
    item.isNested = true;
    item.lanes = {LaneWith(ClipFrom(3.0, 5.0))};

    const std::string row = LaneRow(LaneWith(item), 10.0);

    EXPECT_TRUE(Contains(row, R"(class="clip nested" id="p2" style="left:20%;width:40%")")) << row;
    EXPECT_TRUE(Contains(row, R"(style="left:25%;width:50%")")) << row;
}

TEST(PageWriter, AClipHasAClassForEachStateAndAWordForIt) {
    PageClip clip = ClipFrom(0.0, 4.0);
    clip.muted = true;
    clip.missing = true;
    clip.fades = {1.0, 2.0, "linear"};

    const std::string row = LaneRow(LaneWith(clip), 4.0);

    EXPECT_TRUE(Contains(row, R"(class="clip muted missing")")) << row;
    EXPECT_TRUE(Contains(row, "missing: muted: clip</span>")) << row;
    EXPECT_TRUE(Contains(row, R"(<i class="fade in linear" style="width:25%">)")) << row;
    EXPECT_TRUE(Contains(row, R"(<i class="fade out linear" style="width:50%">)")) << row;
}

TEST(PageWriter, NamesOfATimelineAreTextEverywhere) {
    const std::string attack = "\"'><script>alert(1)</script>&amp;";
    PageClip clip = ClipFrom(0.0, 1.0);
    clip.name = attack;
    clip.details = {attack};
    PageLane lane = LaneWith(clip);
    lane.name = attack;
    lane.marks = {attack};
    PageTransition transition;
    transition.details = {attack};
    lane.transitions = {transition};
    ReportPage page;
    page.title = attack;
    page.info = {{"Timeline", attack}};
    page.summary = {{"attention", attack}};
    page.duration = 1.0;
    page.lanes = {lane};
    page.clipMarks = {{0.0, 0.5, attack}};
    page.entries = {{otio::Severity::Change, attack, attack, 2, {{attack, "p1"}}, false}};

    const std::string document = PageDocument(page);

    EXPECT_FALSE(Contains(document, "<script>alert"));
    EXPECT_FALSE(Contains(document, "\"'>"));
    EXPECT_EQ(CountOf(document, "&quot;'&gt;&lt;script&gt;alert(1)&lt;/script&gt;&amp;amp;"), 16);
}

TEST(PageWriter, APageNeedsNoOtherFile) {
    ReportPage page;
    page.duration = 1.0;
    const std::string document = PageDocument(page);

    EXPECT_FALSE(Contains(document, "http:"));
    EXPECT_FALSE(Contains(document, "https:"));
    EXPECT_FALSE(Contains(document, "src="));
    EXPECT_FALSE(Contains(document, "@import"));
    EXPECT_FALSE(Contains(document, "url("));
    EXPECT_TRUE(Contains(document, "default-src 'none'"));
}

TEST(PageWriter, ATimelineWithoutLengthHasANoteAndItsLanes) {
    ReportPage page;
    PageLane lane;
    lane.id = "p1";
    lane.name = "Voice";
    page.lanes = {lane};

    const std::string document = PageDocument(page);

    EXPECT_TRUE(Contains(document, "The timeline has no length"));
    EXPECT_TRUE(Contains(document, "<b>Voice</b>"));
    EXPECT_FALSE(Contains(document, R"(id="view")"));
    EXPECT_FALSE(Contains(document, R"(id="loudness")"));
}

TEST(PageWriter, EntriesAreMostImportantFirstAndLeadToTheirPlaces) {
    otio::ImportReport report;
    report.Add("marker", {"track 1", "item 1"}, "it is ignored", otio::Severity::Note);
    report.Add("clip", {"track 1", "item 2"}, "it is silent", otio::Severity::Silence);
    report.Add("clip", {"track 9", "item 1"}, "it is silent", otio::Severity::Silence);
    ReportPage page;
    page.entries = PageEntries(report, [](const otio::SourceLocation& place) {
        return place.track == "track 1" ? "p7" : std::string();
    });

    const std::string document = PageDocument(page);

    ASSERT_EQ(page.entries.size(), 2u);
    EXPECT_EQ(page.entries[0].severity, otio::Severity::Silence);
    EXPECT_EQ(page.entries[0].count, 2);
    EXPECT_TRUE(Contains(document, R"(<a href="#p7">track 1, item 2</a>; track 9, item 1</span>)"))
        << document.substr(document.find("entries"));
    EXPECT_LT(document.find("it is silent"), document.find("it is ignored"));
}

TEST(PageWriter, AnEntryWithMorePlacesThanListedHasAWordForThem) {
    otio::ImportReport report;
    for (int i = 1; i <= 9; ++i) report.Add("clip", {"track " + std::to_string(i), {}}, "lost");

    const auto entries = PageEntries(report, [](const auto&) { return std::string(); });

    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].places.size(), 8u);
    EXPECT_TRUE(entries[0].hasMore);
}

TEST(PageWriter, TheCurvesAreStepsOfPeaksAndALineOfLoudnessWithGaps) {
    ReportPage page;
    page.duration = 0.4;
    page.curves.peaks = {0.0, -60.0, {}, 20.0};
    page.curves.shortTerm = {{}, -20.0, -30.5, {}};
    page.curves.integrated = -23.0;

    const std::string document = PageDocument(page);

    // 0 dB is 6 units below the upper edge at +6 dB, and -60 dB is the lower edge.
    EXPECT_TRUE(Contains(document, R"(class="peak" d="M0 66V6H1V66H2V66H3V0H4V66z")"));
    EXPECT_TRUE(Contains(document, R"(class="loud" d="M2 20L3 30.5")"));
    EXPECT_TRUE(Contains(document, R"(class="mean" d="M0 23H4")"));
    EXPECT_TRUE(Contains(
        document, R"({"step":0.1,"peak":[0,-600,null,200],"loudness":[null,-200,-305,null]})"));
}

}  // namespace
}  // namespace orlo::host
