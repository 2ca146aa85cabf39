// SPDX-License-Identifier: MIT
#include "host/shell/Summary.h"

#include <gtest/gtest.h>

#include "host/shell/TextColumns.h"

namespace {

using namespace orlo::host;

TEST(Summary, HasTheRightFirstAndARemedyForEachAttention) {
    Summary summary;
    summary.AddAttention("1 file is missing", "name it");
    summary.AddRight("2 clips sound");

    EXPECT_EQ(summary.Text(),
              "summary\n"
              "  right      2 clips sound\n"
              "  attention  1 file is missing\n"
              "  to do      name it\n");
}

TEST(Summary, SaysThatNothingNeedsAttention) {
    EXPECT_EQ(Summary().Text(),
              "summary\n"
              "  attention  nothing\n");
}

TEST(Summary, FitsInto80ColumnsAndStartsEachLineInItsColumn) {
    Summary summary;
    summary.AddAttention(
        "the timeline asks for sound that its media files do not have and that "
        "nobody has recorded",
        "link /a/folder/with/a/very/long/name/that/has/no/blank/in/it/and/goes/on");

    EXPECT_EQ(summary.Text(),
              "summary\n"
              "  attention  the timeline asks for sound that its media files do not have and\n"
              "             that nobody has recorded\n"
              "  to do      link\n"
              "             /a/folder/with/a/very/long/name/that/has/no/blank/in/it/and/goes/on\n");
}

TEST(Summary, ANameWithAControlCharacterStaysOnItsLine) {
    Summary summary;
    summary.AddRight("track 'a\nb' sounds");

    EXPECT_NE(summary.Text().find("  right      track 'a\\nb' sounds\n"), std::string::npos);
}

TEST(Counted, OnlyOneHasNoPlural) {
    EXPECT_EQ(Counted(0, "clip"), "0 clips");
    EXPECT_EQ(Counted(1, "clip"), "1 clip");
    EXPECT_EQ(Counted(2, "clip"), "2 clips");
}

}  // namespace
