// SPDX-License-Identifier: MIT
#include "host/shell/TextColumns.h"

#include <gtest/gtest.h>

namespace {

using namespace orlo::host;

TEST(TextColumns, AWideCharacterCountsTwoAndACombiningMarkZero) {
    EXPECT_EQ(ColumnsOf("Beat"), 4);
    EXPECT_EQ(ColumnsOf("\u00fcber"), 4);
    EXPECT_EQ(ColumnsOf("u\u0308ber"), 4);
    EXPECT_EQ(ColumnsOf("\u97f3\u697d"), 4);
    EXPECT_EQ(ColumnsOf(""), 0);
}

TEST(TextColumns, AWideCharacterIsNotCutInHalf) {
    EXPECT_EQ(CutToColumns("\u97f3\u697d", 3), "\u97f3");
    EXPECT_EQ(CutToColumns("\u97f3\u697d", 4), "\u97f3\u697d");
    EXPECT_EQ(FitToColumns("\u97f3\u697d", 3), "\u97f3 ");
}

TEST(TextColumns, ACombiningMarkIsKeptWithItsCharacter) {
    EXPECT_EQ(CutToColumns("u\u0308ber", 1), "u\u0308");
}

TEST(TextColumns, AShortTextIsPaddedWithBlanks) {
    EXPECT_EQ(FitToColumns("Beat", 6), "Beat  ");
    EXPECT_EQ(FitToColumns("Beat", 4), "Beat");
    EXPECT_EQ(FitToColumns("Beat", 2), "Be");
}

TEST(TextColumns, ContinuedLinesAreIndentedAndFit) {
    EXPECT_EQ(IndentedLines("a clip is silent", 1, 3, 10), " a clip\n   is\n   silent\n");
    EXPECT_EQ(IndentedLines("a clip", 1, 3, 10), " a clip\n");
    EXPECT_EQ(IndentedLines("", 2, 4, 10), "  \n");
}

TEST(TextColumns, ATextIsWrappedAtBlanks) {
    using Lines = std::vector<std::string>;

    EXPECT_EQ(WrapToColumns("a clip is silent", 6), (Lines{"a clip", "is", "silent"}));
    EXPECT_EQ(WrapToColumns("a  clip", 5), (Lines{"a", "clip"}));
    EXPECT_EQ(WrapToColumns("exact", 5), (Lines{"exact"}));
    EXPECT_EQ(WrapToColumns("exact fit ", 9), (Lines{"exact fit"}));
    EXPECT_EQ(WrapToColumns("", 5), (Lines{""}));
    EXPECT_EQ(WrapToColumns("\u97f3\u697d \u97f3", 4), (Lines{"\u97f3\u697d", "\u97f3"}));
}

TEST(TextColumns, AWordOfMoreThanALineIsDivided) {
    using Lines = std::vector<std::string>;

    EXPECT_EQ(WrapToColumns("/media/take", 4), (Lines{"/med", "ia/t", "ake"}));
    EXPECT_EQ(WrapToColumns("in /media/take", 6), (Lines{"in", "/media", "/take"}));
    EXPECT_EQ(WrapToColumns("\u97f3\u697d", 3), (Lines{"\u97f3", "\u697d"}));
}

}  // namespace
