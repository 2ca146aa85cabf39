// SPDX-License-Identifier: MIT
#include "host/shell/Timecode.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

constexpr double NTSC_RATE = 30000.0 / 1001.0;

TEST(Timecode, DropFrameLeavesOutTwoNumbersOfEachMinuteExceptTheTenth) {
    EXPECT_EQ(TimecodeOfFrame(1799, NTSC_RATE, true), "00:00:59;29");
    EXPECT_EQ(TimecodeOfFrame(1800, NTSC_RATE, true), "00:01:00;02");
    EXPECT_EQ(TimecodeOfFrame(3597, NTSC_RATE, true), "00:01:59;29");
    EXPECT_EQ(TimecodeOfFrame(3598, NTSC_RATE, true), "00:02:00;02");
    EXPECT_EQ(TimecodeOfFrame(17981, NTSC_RATE, true), "00:09:59;29");
    EXPECT_EQ(TimecodeOfFrame(17982, NTSC_RATE, true), "00:10:00;00");
    EXPECT_EQ(TimecodeOfFrame(107892, NTSC_RATE, true), "01:00:00;00");
}

TEST(Timecode, DropFrameAt60LeavesOutFourNumbers) {
    EXPECT_EQ(TimecodeOfFrame(3600, 59.94, true), "00:01:00;04");
    EXPECT_EQ(TimecodeOfFrame(215784, 59.94, true), "01:00:00;00");
}

TEST(Timecode, WithoutDropFrameEveryNumberExists) {
    EXPECT_EQ(TimecodeOfFrame(1800, NTSC_RATE, false), "00:01:00:00");
    EXPECT_EQ(TimecodeOfFrame(108000, NTSC_RATE, false), "01:00:00:00");
}

TEST(Timecode, EachFrameOfHalfAnHourIsFoundAgainFromItsDropFrameTimecode) {
    std::string last;
    for (long long frame = 0; frame < 54000; ++frame) {
        const std::string text = TimecodeOfFrame(frame, NTSC_RATE, true);
        ASSERT_EQ(FrameOfTimecode(text, NTSC_RATE), static_cast<double>(frame)) << text;
        ASSERT_LT(last, text);
        last = text;
    }
}

TEST(Timecode, TheSeparatorBeforeTheFramesDecidesAboutDropFrame) {
    EXPECT_EQ(FrameOfTimecode("01:00:00;00", NTSC_RATE), 107892.0);
    EXPECT_EQ(FrameOfTimecode("01;00;00;00", NTSC_RATE), 107892.0);
    EXPECT_EQ(FrameOfTimecode("01:00:00:00", NTSC_RATE), 108000.0);
    EXPECT_TRUE(IsDropFrameText("01:00:00;00"));
    EXPECT_FALSE(IsDropFrameText("01:00:00:00"));
    EXPECT_FALSE(IsDropFrameText("take;1"));
}

TEST(Timecode, ADroppedNumberDoesNotExist) {
    EXPECT_EQ(FrameOfTimecode("00:01:00;00", NTSC_RATE), std::nullopt);
    EXPECT_EQ(FrameOfTimecode("00:01:00;01", NTSC_RATE), std::nullopt);
    EXPECT_EQ(FrameOfTimecode("00:01:00;02", NTSC_RATE), 1800.0);
    EXPECT_EQ(FrameOfTimecode("00:10:00;00", NTSC_RATE), 17982.0);
}

TEST(Timecode, DropFrameExistsOnlyJustBelow30And60And120FramesASecond) {
    for (const double fps : {29.97, NTSC_RATE, 59.94, 60000.0 / 1001.0, 119.88})
        EXPECT_TRUE(HasDropFrame(fps));
    for (const double fps : {23.976, 24.0, 25.0, 30.0, 50.0, 60.0, 120.0})
        EXPECT_FALSE(HasDropFrame(fps));
    EXPECT_EQ(FrameOfTimecode("00:00:10;00", 25.0), std::nullopt);
}

TEST(Timecode, TextThatIsNotATimecodeHasNoFrame) {
    for (const char* text :
         {"", ":", ":::", "00:00:00", "00:00:00:00:00", "-1:00:00:00", "00:00:60:00", "00:60:00:00",
          "00:00:00:30", "00:00:00.5:00", "aa:bb:cc:dd", "00:00:00:0 "}) {
        EXPECT_EQ(FrameOfTimecode(text, NTSC_RATE), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace orlo::host
