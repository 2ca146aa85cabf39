// SPDX-License-Identifier: MIT
#include "sonrel/base/Paths.h"

#include <gtest/gtest.h>

#include <clocale>
#include <stdexcept>
#include <string>

namespace {

using zrtl::FromUtf8;
using zrtl::ToUtf8;

TEST(Paths, CharactersOfEveryLengthAreConvertedBothWays) {
    const std::wstring wide = L"/\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    const std::string bytes =
        "/\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";

    EXPECT_EQ(ToUtf8(wide), bytes);
    EXPECT_EQ(FromUtf8(bytes), wide);
}

TEST(Paths, EmptyTextAndZeroBytesAreKept) {
    EXPECT_EQ(ToUtf8(L""), "");
    EXPECT_EQ(FromUtf8(""), L"");
    EXPECT_EQ(ToUtf8(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(FromUtf8(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(Paths, TheLocaleDoesNotMatter) {
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(ToUtf8(L"\u00FC"), "\xC3\xBC");
    EXPECT_EQ(FromUtf8("\xC3\xBC"), L"\u00FC");
}

TEST(Paths, AnInvalidCharacterBecomesTheReplacementCharacter) {
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), replaced);
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(0xDFFF))), replaced);
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), replaced);
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(-1))), replaced);
}

class InvalidUtf8 : public testing::TestWithParam<const char*> {};

TEST_P(InvalidUtf8, IsRefused) {
    EXPECT_THROW(FromUtf8(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(Paths, InvalidUtf8,
                         testing::Values("\x80",       // a continuation byte without a lead byte
                                         "\xC3",       // a lead byte without its continuation byte
                                         "a\xE2\x82",  // truncated
                                         "\xC3(",      // no continuation byte
                                         "\xC0\xAF",   // overlong slash
                                         "\xC1\xBF",   //
                                         "\xE0\x9F\xBF",      //
                                         "\xF0\x8F\xBF\xBF",  //
                                         "\xED\xA0\x80",      // surrogates
                                         "\xED\xBF\xBF",      //
                                         "\xF4\x90\x80\x80",  // above U+10FFFF
                                         "\xF5\x80\x80\x80", "\xFF"));

}  // namespace
