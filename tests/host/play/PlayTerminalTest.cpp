// SPDX-License-Identifier: MIT

// The player on a terminal, controlled by keys.
#include <gmock/gmock.h>

#include <string>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/host/play/TerminalRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::HasSubstr;
using testing::Not;

class PlayTerminal : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
        // Longer than any of the tests.
        WriteFile(shop_.Work("edit.otio"),
                  Timeline({Track({Clip("a.wav", 0, 50), Gap(3000)}, "Beat")}).dump());
    }

    std::vector<std::string> Arguments(const std::vector<std::string>& more) const {
        std::vector<std::string> all{SONREL_PROGRAM,
                                     "--cache",
                                     shop_.Path("cache").string(),
                                     "--db",
                                     shop_.Path("media.db").string(),
                                     "play",
                                     shop_.Work("edit.otio").string(),
                                     "--output",
                                     "null"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    void WriteTracks(int frames, const std::vector<std::string>& names) {
        std::vector<Json> tracks;
        for (const std::string& name : names) {
            tracks.push_back(Track({Clip("a.wav", 0, 50), Gap(frames - 50)}, name));
        }
        WriteFile(shop_.Work("edit.otio"), Timeline(tracks).dump());
    }

    Workshop shop_;
};

TEST_F(PlayTerminal, ShowsTheHeardFrameAsTimecodeAndQuitsOnQ) {
    TerminalRun run(Arguments({"--from", "10f"}));
    ASSERT_TRUE(run.Shows("  >")) << run.Shown();

    run.Press("q");

    EXPECT_EQ(run.Wait(), 0);
    EXPECT_TRUE(run.HasNormalModes());
    EXPECT_THAT(run.Shown(), testing::ContainsRegex("00:00:0[0-9]:[0-9][0-9]  >"));
    EXPECT_THAT(run.Shown(), Not(HasSubstr("master")));
}

TEST_F(PlayTerminal, ShowsAMeterForEachTrackAndTheMaster) {
    TerminalRun run(Arguments({"--meters", "--from", "4f"}));

    EXPECT_TRUE(run.Shows("Beat         L [####")) << run.Shown();
    EXPECT_TRUE(run.Shows("master       L [####")) << run.Shown();

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, ShowsTheLoudnessThatIsHeardOnTheFirstLine) {
    TerminalRun run(Arguments({"--meters"}));

    EXPECT_TRUE(run.Shows(" S -- LUFS")) << run.Shown();

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, PausesOnKAndPlaysFasterWithEachL) {
    TerminalRun run(Arguments({"--from", "100f"}));
    ASSERT_TRUE(run.Shows("  >"));

    run.Press("k");
    ASSERT_TRUE(run.Shows("paused"));
    run.Press("l");
    ASSERT_TRUE(run.Shows("  >"));
    run.Press("l");
    ASSERT_TRUE(run.Shows("> x2"));
    run.Press("lll");
    ASSERT_TRUE(run.Shows("> x4"));
    run.Press("j");
    ASSERT_TRUE(run.Shows("  <"));
    run.Press(" ");
    ASSERT_TRUE(run.Shows("paused"));

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, ArrowsMoveASecondWhilePlayingAndAFrameInAPause) {
    TerminalRun run(Arguments({"--from", "1000f"}));
    ASSERT_TRUE(run.Shows("00:00:40:"));

    run.Press("\x1b[C");
    ASSERT_TRUE(run.Shows("00:00:41:")) << run.Shown();
    run.Press("\x1b[A");
    ASSERT_TRUE(run.Shows("00:00:5")) << run.Shown();
    run.Press("k");
    ASSERT_TRUE(run.Shows("paused"));
    run.Press("\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B\x1b[B");
    ASSERT_TRUE(run.Shows("00:00:00:00  paused")) << run.Shown();
    run.Press("\x1b[C");
    ASSERT_TRUE(run.Shows("00:00:00:01  paused")) << run.Shown();
    run.Press("\x1b[D");
    ASSERT_TRUE(run.Shows("00:00:00:00  paused")) << run.Shown();

    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, ControlCStopsThePlayerAndRestoresTheTerminal) {
    TerminalRun run(Arguments({}));
    ASSERT_TRUE(run.Shows("  >"));

    run.Press("\x03");

    EXPECT_EQ(run.Wait(), 130);
    EXPECT_TRUE(run.HasNormalModes());
    EXPECT_THAT(run.Shown(), HasSubstr("sonrel: interrupted: playback stopped"));
}

TEST_F(PlayTerminal, ShowsAReadErrorWhenItHappensAndExits1) {
    WriteFile(shop_.Work("b.wav"), ConformedFileBytes(960001));
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Clip("a.wav", 0, 50), Gap(700), Clip("b.wav", 0, 500), Gap(3000)})})
                  .dump());
    TerminalRun run(Arguments({}));
    // Now a.wav is open, and can be read after it is removed.
    ASSERT_TRUE(run.Shows("00:00:01:")) << run.Shown();
    std::filesystem::remove_all(shop_.Path("cache"));

    // Three jumps of ten seconds, to frame 750 and later.
    run.Press("\x1b[A\x1b[A\x1b[A");

    EXPECT_TRUE(run.Shows("  read error at 00:00:3")) << run.Shown();
    EXPECT_TRUE(run.ScreenBecomes([](const TerminalScreen& screen) {
        return screen.CountRows("  >  read error at 00:00:3") == 1 &&
               screen.CountRows(": 'b.wav'") == 1;
    })) << run.Shown();
    run.Press("q");
    EXPECT_EQ(run.Wait(), 1);
    EXPECT_THAT(run.Shown(), HasSubstr("sonrel: cannot read the sound of "));
}

TEST_F(PlayTerminal, KeysWorkWithoutTheReturnKeyAndAreNotEchoed) {
    TerminalRun run(Arguments({}));

    ASSERT_TRUE(run.Shows("  >"));

    EXPECT_FALSE(run.HasNormalModes());
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, RewindingToTheFirstFramePausesThere) {
    TerminalRun run(Arguments({"--from", "10f"}));
    ASSERT_TRUE(run.Shows("  >"));

    run.Press("j");

    ASSERT_TRUE(run.Shows("00:00:00:00  paused")) << run.Shown();
    run.Press("j");
    run.Press("l");
    EXPECT_TRUE(run.Shows("00:00:00:02  >")) << run.Shown();
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, PlayingToTheLastFramePausesThereOnceAKeyHasBeenPressed) {
    WriteTracks(60, {"Beat"});
    TerminalRun run(Arguments({}));
    ASSERT_TRUE(run.Shows("  >"));

    run.Press("k");
    ASSERT_TRUE(run.Shows("paused"));
    run.Press("l");

    // Frame 59 is the last.
    ASSERT_TRUE(run.Shows("00:00:02:09  paused")) << run.Shown();
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, WithoutAKeyTheEndOfTheRunEndsTheProgram) {
    WriteTracks(60, {"Beat"});
    TerminalRun run(Arguments({"--from", "50f"}));

    EXPECT_EQ(run.Wait(), 0);
    EXPECT_THAT(run.Shown(), Not(HasSubstr("paused")));
}

TEST_F(PlayTerminal, AStandardTerminalShowsEachMeterOnceAndScrollsNothing) {
    TerminalRun run(Arguments({"--meters"}));
    for (int redraw = 0; redraw < 5; ++redraw) ASSERT_TRUE(run.Shows("master")) << run.Shown();

    run.Press("k");

    ASSERT_TRUE(run.ScreenBecomes([](const TerminalScreen& screen) {
        return screen.CountRows("paused") == 1 && screen.CountRows("master") == 1;
    })) << run.Shown();
    EXPECT_EQ(run.Screen().CountRows("Beat"), 1);
    EXPECT_EQ(run.Screen().CountRows("["), 2);
    EXPECT_EQ(run.Screen().Scrolled(), 0);
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, ReportsHowManyTracksDoNotFit) {
    WriteTracks(3000, {"T01", "T02", "T03", "T04", "T05", "T06", "T07", "T08", "T09", "T10"});
    TerminalRun run(Arguments({"--meters"}), 80, 8);

    // A row stays free; the timecode and the master take two.
    ASSERT_TRUE(run.Shows("5 of 10 tracks do not fit")) << run.Shown();
    for (int redraw = 0; redraw < 3; ++redraw) ASSERT_TRUE(run.Shows("master"));
    EXPECT_EQ(run.Screen().CountRows("T05"), 1);
    EXPECT_EQ(run.Screen().CountRows("T06"), 0);
    EXPECT_EQ(run.Screen().Scrolled(), 0);
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, AResizeInAPauseRedraws) {
    WriteTracks(3000, {"T01", "T02", "T03", "T04", "T05", "T06", "T07", "T08", "T09", "T10"});
    TerminalRun run(Arguments({"--meters"}));
    ASSERT_TRUE(run.Shows("master"));
    run.Press("k");
    ASSERT_TRUE(run.Shows("paused"));

    run.Resize(60, 7);

    ASSERT_TRUE(run.ScreenBecomes([](const TerminalScreen& screen) {
        return screen.CountRows("6 of 10 tracks do not fit") == 1 &&
               screen.CountRows("master") == 1;
    })) << run.Shown();
    EXPECT_EQ(run.Screen().CountRows("T04"), 1);
    EXPECT_EQ(run.Screen().CountRows("T05"), 0);
    for (const std::string& row : run.Screen().Rows()) EXPECT_LE(row.size(), 59u) << row;
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(PlayTerminal, BarsAreAlignedAfterWideCharactersInATracksName) {
    WriteTracks(3000, {"Beat", "\u97f3\u697d", "\u97f3\u697d\u97f3\u697d\u97f3\u697d\u97f3\u697d"});
    TerminalRun run(Arguments({"--meters"}));

    ASSERT_TRUE(run.ScreenBecomes(
        [](const TerminalScreen& screen) { return screen.CountRows("master") == 1; }));

    // 12 columns of a name, and " L [".
    for (int row = 1; row <= 3; ++row) EXPECT_EQ(run.Screen().ColumnOf(row, "["), 15) << row;
    EXPECT_THAT(run.Screen().Row(3),
                testing::StartsWith("\u97f3\u697d\u97f3\u697d\u97f3\u697d L ["));
    run.Press("q");
    EXPECT_EQ(run.Wait(), 0);
}

}  // namespace
}  // namespace sonrel_tests
