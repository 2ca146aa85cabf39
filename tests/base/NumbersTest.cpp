// SPDX-License-Identifier: MIT
#include "sonrel/base/Numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using zrtl::TruncToInt32;
using zrtl::TruncToInt64;

constexpr std::int32_t MIN_32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t MIN_64 = std::numeric_limits<std::int64_t>::min();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::nan("");

TEST(TruncToInt32, TruncatesTowardZero) {
    EXPECT_EQ(TruncToInt32(1.9999), 1);
    EXPECT_EQ(TruncToInt32(-1.9999), -1);
    EXPECT_EQ(TruncToInt32(0.5), 0);
    EXPECT_EQ(TruncToInt32(-0.0), 0);
}

TEST(TruncToInt32, AcceptsTheWholeRangeOf32Bits) {
    EXPECT_EQ(TruncToInt32(2147483647.0), 2147483647);
    EXPECT_EQ(TruncToInt32(2147483647.999), 2147483647);
    EXPECT_EQ(TruncToInt32(-2147483648.0), MIN_32);
    EXPECT_EQ(TruncToInt32(-2147483647.5), -2147483647);
}

TEST(TruncToInt32, AValueThatDoesNotFitIsTheMostNegativeInteger) {
    EXPECT_EQ(TruncToInt32(2147483648.0), MIN_32);
    EXPECT_EQ(TruncToInt32(-2147483649.0), MIN_32);
    EXPECT_EQ(TruncToInt32(1e300), MIN_32);
    EXPECT_EQ(TruncToInt32(INFINITE), MIN_32);
    EXPECT_EQ(TruncToInt32(-INFINITE), MIN_32);
    EXPECT_EQ(TruncToInt32(NOT_A_NUMBER), MIN_32);
}

TEST(TruncToInt64, TruncatesTowardZero) {
    EXPECT_EQ(TruncToInt64(1.9999), 1);
    EXPECT_EQ(TruncToInt64(-1.9999), -1);
    EXPECT_EQ(TruncToInt64(4294967296.5), 4294967296);
}

TEST(TruncToInt64, AcceptsTheWholeRangeOf64Bits) {
    EXPECT_EQ(TruncToInt64(9223372036854774784.0), 9223372036854774784);
    EXPECT_EQ(TruncToInt64(-9223372036854775808.0), MIN_64);
}

TEST(TruncToInt64, AValueThatDoesNotFitIsTheMostNegativeInteger) {
    EXPECT_EQ(TruncToInt64(9223372036854775808.0), MIN_64);
    EXPECT_EQ(TruncToInt64(-9223372036854777856.0), MIN_64);
    EXPECT_EQ(TruncToInt64(INFINITE), MIN_64);
    EXPECT_EQ(TruncToInt64(NOT_A_NUMBER), MIN_64);
}

}  // namespace
