// SPDX-License-Identifier: MIT
#include "host/shell/ByteSize.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

TEST(ByteSize, AUnitIsAPowerOf1024) {
    EXPECT_EQ(ParseSize("0"), 0);
    EXPECT_EQ(ParseSize("123"), 123);
    EXPECT_EQ(ParseSize("1K"), 1024);
    EXPECT_EQ(ParseSize("3M"), 3145728);
    EXPECT_EQ(ParseSize("20G"), 21474836480);
    EXPECT_EQ(ParseSize("2T"), 2199023255552);
    EXPECT_EQ(ParseSize("1KiB"), 1024);
    EXPECT_EQ(ParseSize("20GiB"), 21474836480);
    EXPECT_EQ(ParseSize("20g"), 21474836480);
    EXPECT_EQ(ParseSize("20gib"), 21474836480);
}

TEST(ByteSize, AUnitThatEndsInBIsAPowerOf1000) {
    EXPECT_EQ(ParseSize("1KB"), 1000);
    EXPECT_EQ(ParseSize("20GB"), 20000000000);
    EXPECT_EQ(ParseSize("2tb"), 2000000000000);
}

TEST(ByteSize, AFractionIsRoundedDown) {
    EXPECT_EQ(ParseSize("1.5G"), 1610612736);
    EXPECT_EQ(ParseSize("0.001K"), 1);
}

TEST(ByteSize, AnyOtherTextIsRefused) {
    for (const char* text : {"", "G", "B", "1B", "iB", "1iB", "1X", "1GG", "1Gi", "1 G", " 1G",
                             "-1G", "+1G", "1,5G", "1e3", "20Gb/s", "1G1"}) {
        EXPECT_EQ(ParseSize(text), std::nullopt) << text;
    }
}

TEST(ByteSize, TheLargestSizeIsBelow2ToThe60) {
    EXPECT_EQ(ParseSize("1048575T"), 1152920405095219200);
    EXPECT_EQ(ParseSize("1048576T"), std::nullopt);
}

}  // namespace
}  // namespace orlo::host
