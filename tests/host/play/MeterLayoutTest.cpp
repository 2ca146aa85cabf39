// SPDX-License-Identifier: MIT
#include "host/play/MeterLayout.h"

#include <gtest/gtest.h>

#include "host/shell/TextColumns.h"

namespace {

using namespace orlo::host;

MeterLayout Layout(int columns, int rows, const std::vector<std::string>& names) {
    return MeterLayout({columns, rows}, names);
}

TEST(MeterLayout, ALineFillsAStandardTerminalExceptTheLastColumn) {
    const MeterLayout layout = Layout(80, 24, {"Beat"});

    EXPECT_EQ(ColumnsOf(MeterLine("Beat", SignalMeter(), layout)), 79);
    EXPECT_EQ(layout.nameWidth, 12);
    EXPECT_EQ(layout.barWidth, 23);
}

TEST(MeterLayout, NoLineIsWiderThanTheTerminal) {
    for (int columns = 1; columns <= 300; ++columns) {
        const MeterLayout layout = Layout(columns, 24, {"A name that is longer than usual"});
        EXPECT_LE(ColumnsOf(MeterLine("A name", SignalMeter(), layout)), std::max(columns - 1, 1))
            << columns;
    }
}

TEST(MeterLayout, AWideTerminalShowsLongNamesWhole) {
    const MeterLayout layout = Layout(120, 24, {"Voice of the narrator"});

    EXPECT_EQ(layout.nameWidth, 21);
}

TEST(MeterLayout, ABarHasAtMostAColumnForEachDecibel) {
    EXPECT_EQ(Layout(400, 24, {"Beat"}).barWidth, 60);
}

TEST(MeterLayout, ARowStaysFreeBelowTheFirstLineTheTracksAndTheMaster) {
    const std::vector<std::string> names(10, "A");

    EXPECT_EQ(Layout(80, 13, names).tracks, 10u);
    EXPECT_EQ(Layout(80, 12, names).tracks, 9u);
    EXPECT_EQ(Layout(80, 3, names).tracks, 0u);
    EXPECT_TRUE(Layout(80, 3, names).master);
    EXPECT_EQ(Layout(80, 2, names).tracks, 0u);
    EXPECT_FALSE(Layout(80, 2, names).master);
}

TEST(MeterLine, HasTheNameBothBarsAndTheLamps) {
    SignalMeter meter;
    orlo::sonrel::AudioTrackMetrics metrics;
    metrics.peak[0] = 1.0f;
    metrics.clipped[0] = true;
    meter.Show(metrics, {});

    EXPECT_EQ(MeterLine("Beat", meter, Layout(42, 24, {"Beat"})),
              "Beat         L [###|] CLIP  R [----]     ");
}

TEST(MeterLine, CutsALongNameBetweenItsCharacters) {
    const std::string line =
        MeterLine("\u00fcberlanger Name", SignalMeter(), Layout(42, 24, {"\u00fcberlanger Name"}));

    EXPECT_EQ(line.substr(0, line.find(" L [")), "\u00fcberlanger N");
}

}  // namespace
