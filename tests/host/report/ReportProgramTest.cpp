// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/host/ShellRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

constexpr int TONE_RATE = 48000;

/// A stereo WAV of four seconds of 997 Hz.
std::string ToneOf(double amplitude) {
    std::string data;
    for (int i = 0; i < 4 * TONE_RATE; ++i) {
        const double value =
            32767.0 * amplitude * std::sin(2.0 * std::numbers::pi * 997.0 * i / TONE_RATE);
        const auto sample = static_cast<std::int16_t>(std::lround(value));
        data += Little(static_cast<std::uint16_t>(sample), 2);
        data += Little(static_cast<std::uint16_t>(sample), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, TONE_RATE, 16)) + Chunk("data", data));
}

int CountIn(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class ReportProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ToneOf(0.1));
        WriteTimeline("edit.otio", {Track({Clip("a.wav", 0, 50), Clip("a.wav", 25, 50)}, "Voice"),
                                    Track({Clip("a.wav", 0, 75)}, "Music")});
    }

    void WriteTimeline(const std::string& name, const std::vector<Json>& tracks) {
        WriteFile(shop_.Work(name), Timeline(tracks).dump());
    }

    ProgramResult Report(const std::string& input, const std::vector<std::string>& more = {}) {
        std::vector<std::string> line{"report", input, "-o", "@out.html", "--json"};
        line.insert(line.end(), more.begin(), more.end());
        return shop_.Run(line);
    }

    std::string Page() const { return ReadFile(shop_.Work("out.html")); }

    Workshop shop_;
};

TEST_F(ReportProgram, ATimelineIsALaneATrackWithItsClipsAndTheLoudnessOfItsMix) {
    const ProgramResult result = Report("@edit.otio");
    const ProgramResult measured = shop_.Run({"loudness", "@edit.otio", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string page = Page();
    EXPECT_EQ(CountIn(page, R"(<div class="row track")"), 2);
    EXPECT_EQ(CountIn(page, R"(<div class="clip")"), 3);
    EXPECT_EQ(CountIn(page, R"(preserveAspectRatio="none"><path d="M)"), 3);
    EXPECT_TRUE(Has(page, "<b>Voice</b>"));
    const nlohmann::json report = result.Json();
    EXPECT_EQ(report["bytes"], page.size());
    EXPECT_EQ(report["samples"], 4 * TONE_RATE);
    nlohmann::json loudness = measured.Json()["files"].at(0);
    loudness.erase("input");
    EXPECT_EQ(report["loudness"], loudness);
}

TEST_F(ReportProgram, ARangeHasTheLoudnessOfItsMix) {
    const ProgramResult result = Report("@edit.otio", {"--from", "1.01", "--to", "3"});
    const ProgramResult mix =
        shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--from", "1.01", "--to", "3", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const nlohmann::json expected = mix.Json();
    EXPECT_EQ(result.Json()["samples"], expected["samples"]);
    EXPECT_EQ(result.Json()["loudness"]["integrated"], expected["loudness"]["integrated"]);
    EXPECT_EQ(result.Json()["loudness"]["truePeak"], expected["loudness"]["truePeak"]);
    EXPECT_EQ(result.Json()["master"]["peak"], expected["master"]["peak"]);
}

TEST_F(ReportProgram, TheSameTimelineGivesTheSameBytes) {
    ASSERT_EQ(Report("@edit.otio").exitCode, 0);
    const std::string first = Page();
    ASSERT_EQ(Report("@edit.otio").exitCode, 0);

    EXPECT_TRUE(Page() == first);
}

TEST_F(ReportProgram, AMediaFileIsOneClip) {
    const ProgramResult result = Report("@a.wav");

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json()["kind"], "media");
    EXPECT_NEAR(result.Json()["loudness"]["integrated"], -20.0, 0.1);
    EXPECT_NEAR(result.Json()["master"]["peak"][0], 0.1, 0.001);
    EXPECT_EQ(CountIn(Page(), R"(<div class="clip")"), 1);
    EXPECT_TRUE(Has(Page(), "<title>a.wav"));
}

TEST_F(ReportProgram, ANestedItemIsShownInItsPlaceAndAlone) {
    const Json nested =
        WithRange(Named(Stack({Track({Clip("a.wav", 0, 50)}, "Inner")}), "nest"), 0, 50);
    WriteTimeline("nested.otio", {Track({Gap(25), nested}, "Outer")});

    ASSERT_EQ(Report("@nested.otio").exitCode, 0);
    EXPECT_EQ(CountIn(Page(), R"(<div class="clip nested")"), 1);
    EXPECT_EQ(CountIn(Page(), R"(<div class="clip")"), 1);

    const ProgramResult alone = Report("@nested.otio", {"--composition", "nest"});
    ASSERT_EQ(alone.exitCode, 0) << alone.err;
    EXPECT_EQ(alone.Json()["samples"], 2 * TONE_RATE);
    EXPECT_TRUE(Has(Page(), "<b>Inner</b>"));
    EXPECT_FALSE(Has(Page(), "<b>Outer</b>"));
    EXPECT_EQ(Report("@nested.otio", {"--composition", "none"}).exitCode, 2);
}

TEST_F(ReportProgram, WhereTheMasterClipsThePageHasAMark) {
    WriteFile(shop_.Work("loud.wav"), ToneOf(0.9));
    WriteTimeline("loud.otio", {Track({Gap(25), Clip("loud.wav", 0, 25), Gap(25)}),
                                Track({Gap(25), Clip("loud.wav", 0, 25), Gap(25)})});

    const ProgramResult result = Report("@loud.otio");

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json()["master"]["clips"], 1);
    EXPECT_EQ(CountIn(Page(), R"(<i class="over")"), 1);
    EXPECT_TRUE(Has(Page(), R"(title="clips from 00:00:01:00 to 00:00:02:00, both")"));
}

TEST_F(ReportProgram, WithMissingMediaThePageIsWrittenAndTheExitIs3) {
    WriteTimeline("gone.otio", {Track({Clip("gone.wav", 0, 25), Clip("a.wav", 0, 25)})});

    const ProgramResult refused = Report("@gone.otio");

    EXPECT_EQ(refused.exitCode, 3);
    EXPECT_TRUE(refused.HasOneErrorLine()) << refused.err;
    EXPECT_TRUE(Has(refused.err, "gone.wav"));
    EXPECT_TRUE(Has(refused.err, "--allow-missing"));
    EXPECT_EQ(refused.Json()["missing"].size(), 1u);
    const std::string page = Page();
    EXPECT_EQ(CountIn(page, R"(<div class="clip missing")"), 1);
    EXPECT_TRUE(Has(page, "attention: 1 media file is missing"));
    EXPECT_EQ(CountIn(page, R"(<li class="silence">)"), 1);
    EXPECT_TRUE(Has(page, R"(<a href="#p2">track 1)")) << page.substr(page.find("entries"));

    EXPECT_EQ(Report("@gone.otio", {"--allow-missing"}).exitCode, 0);
    EXPECT_TRUE(Page() == page);
}

TEST_F(ReportProgram, ATimelineWithNothingInItHasANote) {
    WriteTimeline("empty.otio", {});
    const ProgramResult empty = Report("@empty.otio");
    EXPECT_EQ(empty.exitCode, 0) << empty.err;
    EXPECT_TRUE(Has(Page(), "The timeline has no length"));
    EXPECT_TRUE(empty.Json()["loudness"].is_null());

    WriteTimeline("gap.otio", {Track({Gap(25)}, "Nothing")});
    const ProgramResult gap = Report("@gap.otio");
    EXPECT_EQ(gap.exitCode, 0) << gap.err;
    EXPECT_TRUE(Has(Page(), "attention: the timeline has no clip with sound"));
    EXPECT_TRUE(Has(Page(), "<b>Nothing</b>"));
}

TEST_F(ReportProgram, FiveHundredTracksAreFiveHundredLanes) {
    std::vector<Json> tracks;
    for (int i = 0; i < 500; ++i) tracks.push_back(Track({Clip("a.wav", 0, 2)}));
    WriteTimeline("tracks.otio", tracks);

    ASSERT_EQ(Report("@tracks.otio").exitCode, 0);

    EXPECT_EQ(CountIn(Page(), R"(<div class="row track")"), 500);
}

TEST_F(ReportProgram, NamesAreTextAndNeverMarkup) {
    const std::string attack = "\"'><script>alert(1)</script><img src=x onerror=alert(1)>";
    WriteTimeline("names.otio",
                  {Named(Track({Named(Clip("a.wav", 0, 25), attack)}, attack), attack)});

    ASSERT_EQ(Report("@names.otio").exitCode, 0);

    EXPECT_FALSE(Has(Page(), "<script>alert"));
    EXPECT_FALSE(Has(Page(), "<img"));
    EXPECT_TRUE(Has(Page(), "<b>&quot;'&gt;&lt;script&gt;"));
}

TEST_F(ReportProgram, WithStrictAnEntryIsExit3AndThePageIsWritten) {
    WriteTimeline("strict.otio", {Track({Clip("a.wav", 75, 50)})});

    EXPECT_EQ(Report("@strict.otio").exitCode, 0);
    const ProgramResult strict = Report("@strict.otio", {"--strict"});

    EXPECT_EQ(strict.exitCode, 3);
    EXPECT_TRUE(strict.HasOneErrorLine()) << strict.err;
    EXPECT_EQ(CountIn(Page(), R"(<li class="silence">)"), 1);
}

TEST_F(ReportProgram, AWrongOutputIsRefusedAndNothingIsReplaced) {
    const std::string timeline = ReadFile(shop_.Work("edit.otio"));
    fs::create_hard_link(shop_.Work("edit.otio"), shop_.Work("edit.html"));
    fs::create_hard_link(shop_.Work("a.wav"), shop_.Work("media.html"));
    const auto run = [&](const std::string& output) {
        const ProgramResult result = shop_.Run({"report", "@edit.otio", "-o", output});
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        return result.exitCode;
    };

    EXPECT_EQ(run("@edit.html"), 2);
    EXPECT_EQ(run("@media.html"), 2);
    EXPECT_EQ(run("@page.pdf"), 2);
    EXPECT_EQ(run("@page"), 2);
    EXPECT_EQ(run("@nowhere/page.html"), 1);
    EXPECT_EQ(ReadFile(shop_.Work("edit.otio")), timeline);
    EXPECT_FALSE(fs::exists(shop_.Work("page.pdf")));
    EXPECT_EQ(shop_.Run({"report", "@edit.otio", "-o", "@page.HTM"}).exitCode, 0);
}

TEST_F(ReportProgram, AProtectedFileIsReplacedOnlyWithOverwrite) {
    WriteFile(shop_.Work("out.html"), "mine");
    fs::permissions(shop_.Work("out.html"), fs::perms::owner_read);

    EXPECT_EQ(Report("@edit.otio").exitCode, 1);
    EXPECT_EQ(Page(), "mine");
    EXPECT_EQ(Report("@edit.otio", {"--overwrite"}).exitCode, 0);
    EXPECT_NE(Page(), "mine");
}

TEST_F(ReportProgram, StandardOutputHasThePageAndStandardErrorItsText) {
    ASSERT_EQ(shop_.Run({"report", "@edit.otio", "-o", "@out.html"}).exitCode, 0);

    const ProgramResult piped = shop_.Run({"report", "@edit.otio", "-o", "-"});

    EXPECT_EQ(piped.exitCode, 0);
    EXPECT_TRUE(piped.out == Page());
    EXPECT_TRUE(piped.err.starts_with("standard output: 0:00:04.000, 2 lanes, ")) << piped.err;
    EXPECT_EQ(shop_.Run({"report", "@edit.otio", "-o", "-", "--json"}).exitCode, 2);
    EXPECT_EQ(RunBash(shop_, "\\$sonrel report edit.otio -o - >/dev/full 2>/dev/null"), 1);
}

TEST_F(ReportProgram, ASoundOfMoreChannelsThanAPeakFileStoresIsShownWithoutAWaveform) {
    // 18 channels with their loudspeakers, which only the extensible format can declare.
    constexpr int CHANNELS = 18;
    std::string format = PcmFormat(0xFFFE, CHANNELS, TONE_RATE, 16);
    format += Little(22, 2) + Little(16, 2) + Little(0x3FFFF, 4) + Little(1, 2);
    format += std::string("\0\0\0\0\x10\0\x80\0\0\xaa\0\x38\x9b\x71", 14);
    WriteFile(shop_.Work("many.wav"),
              Riff(Chunk("fmt ", format) + Chunk("data", std::string(2 * CHANNELS * 4800, '\1'))));

    const ProgramResult result = shop_.Run({"report", "@many.wav", "-o", "@out.html"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Has(InOneLine(result.out), "its sound has 18 channels")) << result.out;
    EXPECT_EQ(CountIn(Page(), R"(<div class="clip")"), 1);
    EXPECT_EQ(CountIn(Page(), R"(<path d="M)"), 0);
}

TEST_F(ReportProgram, WrongOptionsAreRefused) {
    for (const std::vector<std::string>& more : {std::vector<std::string>{"--from", "9"},
                                                 {"--from", "2", "--to", "1"},
                                                 {"--composition", "nest"},
                                                 {"--stream", "1"}}) {
        const ProgramResult result = Report("@edit.otio", more);
        EXPECT_EQ(result.exitCode, 2) << more.front();
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
    EXPECT_EQ(Report("@a.wav", {"--composition", "nest"}).exitCode, 2);
    EXPECT_FALSE(fs::exists(shop_.Work("out.html")));
}

}  // namespace
}  // namespace sonrel_tests
