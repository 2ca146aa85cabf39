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

}  // namespace
