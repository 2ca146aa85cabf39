// SPDX-License-Identifier: MIT
#include "host/timeline/Positions.h"

#include <gtest/gtest.h>

#include "host/shell/Errors.h"

namespace orlo::host {
namespace {

constexpr FrameGrid PAL{48000, 25.0};
constexpr FrameGrid NTSC{48000, 29.97};

long long Position(const char* text, const FrameGrid& grid = PAL) {
    return ParsePosition(text, grid, "--from");
}

TEST(Positions, ABareNumberIsSeconds) {
    EXPECT_EQ(Position("12.5"), 600000);
    EXPECT_EQ(Position("0"), 0);
}

TEST(Positions, TheSuffixSMeansSeconds) {
    EXPECT_EQ(Position("12.5s"), 600000);
}

TEST(Positions, SecondsRoundToTheNearestSampleHalvesUp) {
    // 0.5 and 0.4999 samples at 48000 Hz.
    EXPECT_EQ(Position("0.000010416666666666667"), 1);
    EXPECT_EQ(Position("0.0000104145"), 0);
}

TEST(Positions, TheSuffixFMeansFrames) {
    EXPECT_EQ(Position("300f"), 576000);
}

TEST(Positions, FramesAreMultipliedByTheRatioOfTheRates) {
    // 48000 / 29.97 is 1601.6016: frame 3 is at 4804.8, frame 1000 at 1601601.6.
    EXPECT_EQ(Position("1f", NTSC), 1602);
    EXPECT_EQ(Position("3f", NTSC), 4805);
    EXPECT_EQ(Position("1000f", NTSC), 1601602);
}

TEST(Positions, TheSuffixSmpMeansSamples) {
    EXPECT_EQ(Position("480000smp"), 480000);
    EXPECT_EQ(Position("9223372036854775807smp"), 9223372036854775807);
}

TEST(Positions, TimecodeCountsFramesAtTheFrameRate) {
    EXPECT_EQ(Position("00:00:12:10"), (12 * 25 + 10) * 1920);
    EXPECT_EQ(Position("01:00:00:00"), 3600LL * 48000);
}

TEST(Positions, TimecodeCountsAtTheNominalRateWithoutDroppingFrames) {
    // At 29.97 frames a second a second of timecode is 30 frames.
    EXPECT_EQ(Position("00:00:01:00", NTSC), Position("30f", NTSC));
    EXPECT_EQ(Position("00:01:00:00", NTSC), Position("1800f", NTSC));
}

TEST(Positions, TheLastFrameOfASecondIsTheNominalRateMinusOne) {
    EXPECT_EQ(Position("00:00:00:24"), 24 * 1920);
    EXPECT_THROW(Position("00:00:00:25"), UsageError);
    EXPECT_EQ(Position("00:00:00:29", NTSC), Position("29f", NTSC));
    EXPECT_THROW(Position("00:00:00:30", NTSC), UsageError);
}

TEST(Positions, SixtySecondsOrMinutesAreNotTimecode) {
    EXPECT_EQ(Position("00:59:59:00"), 3599LL * 48000);
    EXPECT_THROW(Position("00:00:60:00"), UsageError);
    EXPECT_THROW(Position("00:60:00:00"), UsageError);
}

TEST(Positions, TextThatIsNotAPositionIsWrongUsage) {
    for (const char* text : {"",
                             "x",
                             "-1",
                             "+1",
                             "1e3",
                             "1.",
                             ".5",
                             "1 ",
                             " 1",
                             "nan",
                             "inf",
                             "0x10",
                             "12.5.1",
                             "12.5smp",
                             "-3smp",
                             "s",
                             "f",
                             "smp",
                             "1ff",
                             "1:2:3",
                             "00:00:00:00:00",
                             "00:00:00;10",
                             "00:00:1.5:00",
                             "::::"}) {
        EXPECT_THROW(Position(text), UsageError) << text;
    }
}

TEST(Positions, TimecodeCountsFromTheStartOfTheTimeline) {
    FrameGrid grid = PAL;
    grid.startFrame = 90000;

    EXPECT_EQ(Position("01:00:12:10", grid), (12 * 25 + 10) * 1920);
    EXPECT_EQ(Position("12.4", grid), (12 * 25 + 10) * 1920);
    EXPECT_EQ(Position("310f", grid), (12 * 25 + 10) * 1920);
    EXPECT_EQ(FormatTimecode(595200, grid), "01:00:12:10");
}

TEST(Positions, ATimecodeBeforeTheStartIsWrongUsageWithTheStart) {
    FrameGrid grid = PAL;
    grid.startFrame = 90000;

    EXPECT_EQ(Position("01:00:00:00", grid), 0);
    try {
        Position("00:59:59:24", grid);
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(),
                     "--from '00:59:59:24' is before the start of the timeline, which is at "
                     "01:00:00:00");
    }
}

TEST(Positions, ASemicolonBeforeTheFramesIsDropFrame) {
    // An hour of drop-frame timecode has 107892 frames, of other timecode 108000.
    FrameGrid grid = NTSC;
    EXPECT_EQ(Position("01:00:00;00", grid), grid.Start(107892));
    EXPECT_EQ(Position("01:00:00:00", grid), grid.Start(108000));
    grid.startFrame = 107892;
    EXPECT_EQ(Position("01:00:10;00", grid), grid.Start(300));
    grid.dropFrame = true;
    EXPECT_EQ(FormatTimecode(grid.Start(300), grid), "01:00:10;00");
}

TEST(Positions, DropFrameTimecodeAtAnotherRateIsWrongUsage) {
    try {
        Position("00:00:10;00");
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(),
                     "--from '00:00:10;00' is a drop-frame timecode, which 25 frames a second do "
                     "not have; write ':' before the frames");
    }
}

TEST(Positions, APositionAbove64BitsIsWrongUsage) {
    EXPECT_THROW(Position("9223372036854775808smp"), UsageError);
    EXPECT_THROW(Position("1000000000000000000f"), UsageError);
    EXPECT_THROW(Position("999999999999999999999"), UsageError);
}

TEST(Positions, TheErrorNamesTheOptionAndItsValue) {
    try {
        ParsePosition("soon", PAL, "--to");
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_NE(std::string(error.what()).find("--to 'soon'"), std::string::npos);
    }
}

TEST(FrameGrid, AFrameCoversTheSamplesUpToTheNextFrame) {
    EXPECT_EQ(NTSC.Start(1), 1602);
    EXPECT_EQ(NTSC.Start(2), 3203);
    EXPECT_EQ(NTSC.FrameOf(0), 0);
    EXPECT_EQ(NTSC.FrameOf(1601), 0);
    EXPECT_EQ(NTSC.FrameOf(1602), 1);
    EXPECT_EQ(NTSC.FrameOf(3202), 1);
    EXPECT_EQ(NTSC.FrameOf(3203), 2);
}

TEST(FrameGrid, DividedFramesKeepTheirNumbersAndSamples) {
    constexpr FrameGrid DIVIDED{48000, 25.0, 4};

    EXPECT_EQ(DIVIDED.EngineRate(), 100.0);
    for (const long long frame : {0, 1, 29, 1000}) {
        EXPECT_EQ(DIVIDED.Start(frame), 1920 * frame);
        EXPECT_EQ(DIVIDED.FrameOf(1920 * frame), frame);
        EXPECT_EQ(DIVIDED.FrameOf(1920 * frame + 1919), frame);
    }
    EXPECT_EQ(Position("10f", DIVIDED), 19200);
    EXPECT_EQ(Position("10.25f", DIVIDED), 19680);
    EXPECT_EQ(Position("00:00:01:01", DIVIDED), 26 * 1920);
    EXPECT_EQ(DIVIDED.FrameOfEngine(7), 1);
    EXPECT_EQ(DIVIDED.FrameOfEngine(8), 2);
    EXPECT_EQ(DIVIDED.FirstEngineFrame(2), 8);
}

TEST(FrameGrid, FrameOfInvertsStartAtUnevenRates) {
    for (const FrameGrid& grid :
         {FrameGrid{44100, 24000.0 / 1001.0}, FrameGrid{48000, 59.94}, FrameGrid{22050, 29.97}}) {
        for (long long frame = 0; frame < 20000; ++frame) {
            ASSERT_EQ(grid.FrameOf(grid.Start(frame)), frame);
            ASSERT_EQ(grid.FrameOf(grid.Start(frame + 1) - 1), frame);
        }
    }
}

TEST(FrameGrid, TimecodeNamesTheFrameThatCoversASample) {
    EXPECT_EQ(FormatTimecode(0, PAL), "00:00:00:00");
    EXPECT_EQ(FormatTimecode(1919, PAL), "00:00:00:00");
    EXPECT_EQ(FormatTimecode(1920, PAL), "00:00:00:01");
    EXPECT_EQ(FormatTimecode(3661LL * 48000, PAL), "01:01:01:00");
}

TEST(Span, WithoutFromAndToIsTheWholeTimeline) {
    const zrtl::FrameRange span = ParseSpan("", "", PAL, 1000);

    EXPECT_EQ(span.start, 0);
    EXPECT_EQ(span.end, 1000);
}

TEST(Span, ToIsExclusive) {
    EXPECT_EQ(ParseSpan("", "400smp", PAL, 1000).end, 400);
}

TEST(Span, ToMayBeBeyondTheEnd) {
    EXPECT_EQ(ParseSpan("", "1001smp", PAL, 1000).end, 1000);
}

TEST(Span, FromMustBeBeforeTheEnd) {
    EXPECT_EQ(ParseSpan("999smp", "", PAL, 1000).start, 999);
    EXPECT_THROW(ParseSpan("1000smp", "", PAL, 1000), UsageError);
}

TEST(Span, FromMustBeBeforeTo) {
    EXPECT_EQ(ParseSpan("10smp", "11smp", PAL, 1000).start, 10);
    EXPECT_THROW(ParseSpan("10smp", "10smp", PAL, 1000), UsageError);
    EXPECT_THROW(ParseSpan("11smp", "10smp", PAL, 1000), UsageError);
    EXPECT_THROW(ParseSpan("", "0", PAL, 1000), UsageError);
}

}  // namespace
}  // namespace orlo::host
