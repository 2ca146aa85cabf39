// SPDX-License-Identifier: MIT
#include "host/waveform/PictureArguments.h"

#include <gtest/gtest.h>

#include "host/shell/Errors.h"

namespace {

using namespace orlo::host;
using Color = orlo::sonrel::WaveformPreview::Color;

std::pair<int, int> Size(const std::string& text) {
    const PictureSize size = ParsePictureSize(text);
    return {size.width, size.height};
}

std::pair<long long, long long> Range(const std::string& text) {
    const zrtl::FrameRange range = ParseStreamRange(text, 48000, 96000);
    return {range.start, range.end};
}

TEST(PictureSize, IsWidthCrossHeight) {
    EXPECT_EQ(Size("1800x280"), std::pair(1800, 280));
    EXPECT_EQ(Size("1x1"), std::pair(1, 1));
}

TEST(PictureSize, HasSidesOfAtMost32767) {
    EXPECT_EQ(Size("32767x2048"), std::pair(32767, 2048));
    EXPECT_THROW(Size("32768x1"), UsageError);
    EXPECT_THROW(Size("1x32768"), UsageError);
}

TEST(PictureSize, HasAtMost67108864Pixels) {
    EXPECT_EQ(Size("8192x8192"), std::pair(8192, 8192));
    EXPECT_THROW(Size("8192x8193"), UsageError);
}

TEST(PictureSize, AnythingElseIsRefused) {
    for (const char* text : {"", "x", "10", "10x", "x10", "0x10", "10x0", "-1x10", "10x10x10",
                             "10 x 10", "1e3x10", "10.5x10", "99999999999999999999x1"}) {
        EXPECT_THROW(Size(text), UsageError) << text;
    }
}

TEST(PictureColor, SixDigitsAreOpaque) {
    EXPECT_EQ(ParseColor("--color", "0a14FF"), (Color{10, 20, 255, 255}));
}

TEST(PictureColor, EightDigitsEndWithAlpha) {
    EXPECT_EQ(ParseColor("--color", "ff000080"), (Color{255, 0, 0, 128}));
    EXPECT_EQ(ParseColor("--color", "00000000"), (Color{0, 0, 0, 0}));
}

TEST(PictureColor, MayStartWithANumberSign) {
    EXPECT_EQ(ParseColor("--color", "#ff0000"), (Color{255, 0, 0, 255}));
    EXPECT_EQ(ParseColor("--color", "#0a14FF80"), (Color{10, 20, 255, 128}));
}

TEST(PictureColor, AnythingElseIsRefused) {
    for (const char* text : {"", "red", "12345", "1234567", "123456789", "#", "#12345", "##123456",
                             "12345#", "0x1234", "-12345", "+12345", "12 456", "12345g"}) {
        EXPECT_THROW(ParseColor("--color", text), UsageError) << text;
    }
}

TEST(PictureColors, AreAListWithCommas) {
    const std::vector<Color> colors = ParseColors("--color", "0a14FF,#ff000080");

    ASSERT_EQ(colors.size(), 2u);
    EXPECT_EQ(colors[0], (Color{10, 20, 255, 255}));
    EXPECT_EQ(colors[1], (Color{255, 0, 0, 128}));
}

TEST(PictureColors, AreAtMost16WithoutGaps) {
    std::string list = "000000";
    for (int i = 1; i < 16; ++i) list += ",000000";
    EXPECT_EQ(ParseColors("--color", list).size(), 16u);
    EXPECT_THROW(ParseColors("--color", list + ",000000"), UsageError);
    for (const char* text : {"", ",", "000000,", ",000000", "000000,,000000", "000000 ,000000"}) {
        EXPECT_THROW(ParseColors("--color", text), UsageError) << text;
    }
}

// ---- ranges of a stream of two seconds at 48000 Hz

TEST(StreamRange, AnEmptyTextIsTheWholeStream) {
    EXPECT_EQ(Range(""), std::pair(0LL, 96000LL));
}

TEST(StreamRange, TakesSecondsAndSamples) {
    EXPECT_EQ(Range("0.5:1.5"), std::pair(24000LL, 72000LL));
    EXPECT_EQ(Range("0.5s:1.5s"), std::pair(24000LL, 72000LL));
    EXPECT_EQ(Range("100smp:200smp"), std::pair(100LL, 200LL));
    EXPECT_EQ(Range("100smp:1"), std::pair(100LL, 48000LL));
}

TEST(StreamRange, SecondsAreRoundedToASample) {
    // 1.4999 and 2.5000 samples
    EXPECT_EQ(ParseStreamRange("1.4999:2.5", 1, 10).start, 1);
    EXPECT_EQ(ParseStreamRange("1.4999:2.5", 1, 10).end, 3);
}

TEST(StreamRange, AnEmptyEndOrAnEndBeyondTheStreamIsTheEndOfTheStream) {
    EXPECT_EQ(Range("1:"), std::pair(48000LL, 96000LL));
    EXPECT_EQ(Range("1:999"), std::pair(48000LL, 96000LL));
    EXPECT_EQ(Range("1:999999999999999999999999"), std::pair(48000LL, 96000LL));
}

TEST(StreamRange, AnEmptyStartIsTheStartOfTheStream) {
    EXPECT_EQ(Range(":1"), std::pair(0LL, 48000LL));
    EXPECT_EQ(Range(":"), std::pair(0LL, 96000LL));
}

TEST(StreamRange, AStartAtTheEndIsRefused) {
    EXPECT_EQ(Range("95999smp:"), std::pair(95999LL, 96000LL));
    EXPECT_THROW(Range("96000smp:"), UsageError);
    EXPECT_THROW(Range("99999999999999999999:"), UsageError);
}

TEST(StreamRange, AnEmptyOrReversedRangeIsRefused) {
    EXPECT_EQ(Range("10smp:11smp"), std::pair(10LL, 11LL));
    EXPECT_THROW(Range("10smp:10smp"), UsageError);
    EXPECT_THROW(Range("1.5:0.5"), UsageError);
    EXPECT_THROW(Range(":0"), UsageError);
}

TEST(StreamRange, AnythingElseIsRefused) {
    for (const char* text :
         {"1", "a:b", "1:2:3", "-1:1", "0:-1", "1f:2f", "-5smp:9smp", "1.5smp:9smp", "1 :2"}) {
        EXPECT_THROW(Range(text), UsageError) << text;
        EXPECT_THROW(CheckStreamRange(text), UsageError) << text;
    }
}

TEST(StreamRange, ARangeWithValidSyntaxIsAcceptedBeforeTheStreamIsOpened) {
    for (const char* text : {"", ":", "1:2", "96000smp:1", "5smp:", ":9"}) {
        EXPECT_NO_THROW(CheckStreamRange(text)) << text;
    }
}

}  // namespace
