// SPDX-License-Identifier: MIT
#include "host/shell/ProgressLine.h"

#include <gtest/gtest.h>

#include "host/shell/TextColumns.h"

namespace orlo::host {
namespace {

/// 30 of 120 seconds at 48000 Hz.
ProgressState Quarter() {
    return {"mix", "out.wav", "samples", 1440000, 5760000, 48000.0, 65.0};
}

TEST(ProgressLine, HasTheFileABarAndTimesInsteadOfSamples) {
    // 79 columns: 11 of the step and the file, 30 of the text after the bar, 4 of brackets and
    // blanks, and 34 of the bar. A quarter of 34 is 8.
    EXPECT_EQ(ProgressLine(Quarter(), 80),
              "mix out.wav [########--------------------------] 0:30 of 2:00,  25 %, 1:05 left");
}

TEST(ProgressLine, FitsEveryTerminal) {
    for (int columns = 1; columns <= 200; ++columns) {
        EXPECT_LT(ColumnsOf(ProgressLine(Quarter(), columns)), columns) << columns;
    }
}

TEST(ProgressLine, HasABarIn24Columns) {
    // "mix", two blanks, two brackets and " 25 %" leave 11 of 23 columns. A quarter of 11 is 2.
    EXPECT_EQ(ProgressLine(Quarter(), 24), "mix [##---------]  25 %");
}

TEST(ProgressLine, LongStepsHaveTheirCountWithoutATime) {
    ProgressState state = Quarter();
    state.unit = "blocks";
    state.unitsPerSecond = 0.0;
    EXPECT_NE(ProgressLine(state, 120).find("1440000 of 5760000 blocks"), std::string::npos);
    EXPECT_NE(ProgressLine(Quarter(), 120).find("0:30 of 2:00"), std::string::npos);
}

TEST(ProgressLine, AStepWithoutWorkIsDone) {
    ProgressState state = Quarter();
    state.done = state.total = 0;
    EXPECT_NE(ProgressLine(state, 80).find("100 %"), std::string::npos);
}

TEST(ProgressLine, AFileNameCannotMoveTheCursor) {
    ProgressState state = Quarter();
    state.file = "a\n\x1b[2J.wav";
    const std::string line = ProgressLine(state, 80);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(line.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace orlo::host
