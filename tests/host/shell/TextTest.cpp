// SPDX-License-Identifier: MIT
#include "host/shell/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace orlo::host {
namespace {

TEST(OneLine, DoesNotChangePrintableText) {
    EXPECT_EQ(OneLine("a 'b' \xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xB5"),
              "a 'b' \xC3\xBC \xE2\x82\xAC \xF0\x9F\x8E\xB5");
}

TEST(OneLine, EscapesControlCharacters) {
    EXPECT_EQ(OneLine(std::string("a\nb\rc\td\x1b[0m\0e\x7f", 14)),
              "a\\nb\\rc\\td\\x1b[0m\\x00e\\x7f");
}

TEST(OneLine, EscapesTheSecondBlockOfControls) {
    // U+0085 breaks lines on some terminals; U+00A0 is a no-break space.
    EXPECT_EQ(OneLine("\xC2\x85\xC2\xA0"), "\\xc2\\x85\xC2\xA0");
}

TEST(OneLine, EscapesBytesThatAreNotUtf8) {
    EXPECT_EQ(OneLine("\xFF\xC3"), "\\xff\\xc3");
    // A lone surrogate.
    EXPECT_EQ(OneLine("\xED\xA0\x80"), "\\xed\\xa0\\x80");
}

TEST(ParseDecimal, AcceptsOnlyPlainDecimalNumbers) {
    EXPECT_EQ(ParseDecimal("12.5"), 12.5);
    EXPECT_EQ(ParseDecimal("007"), 7.0);
    for (const char* text : {"", ".", "1.", ".1", "1,5", "1e3", "-1", "+1", "inf", "nan", "1 "}) {
        EXPECT_EQ(ParseDecimal(text), std::nullopt) << text;
    }
}

TEST(ParseDecimal, RefusesNumbersThatAreNotFinite) {
    EXPECT_EQ(ParseDecimal(std::string(400, '9')), std::nullopt);
}

TEST(ParseInteger, AcceptsIntegersOf64Bits) {
    EXPECT_EQ(ParseInteger("-12"), -12);
    EXPECT_EQ(ParseInteger("9223372036854775807"), 9223372036854775807);
    for (const char* text : {"", "1.0", "+1", "0x1", "9223372036854775808", "1 "}) {
        EXPECT_EQ(ParseInteger(text), std::nullopt) << text;
    }
}

TEST(FormatNumber, RemovesTrailingZeros) {
    EXPECT_EQ(FormatNumber(25.0, 6), "25");
    EXPECT_EQ(FormatNumber(29.97, 6), "29.97");
    EXPECT_EQ(FormatNumber(-0.04, 1), "0");
    EXPECT_EQ(FormatNumber(100.0, 0), "100");
}

TEST(FormatShort, FormatsNumbersOfAnySize) {
    EXPECT_EQ(FormatShort(29.97), "29.97");
    EXPECT_EQ(FormatShort(1e-9), "1e-09");
    EXPECT_EQ(FormatShort(48000.0), "48000");
}

TEST(FormatDuration, ContainsHoursMinutesSecondsAndMilliseconds) {
    EXPECT_EQ(FormatDuration(62.5), "0:01:02.500");
    EXPECT_EQ(FormatDuration(36000.0), "10:00:00.000");
    EXPECT_EQ(FormatDuration(59.9996), "0:01:00.000");
}

}  // namespace
}  // namespace orlo::host
