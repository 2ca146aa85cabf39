// SPDX-License-Identifier: MIT
#include "sonrel/base/FrameRange.h"

#include <gtest/gtest.h>

namespace {

using zrtl::FrameRange;

TEST(FrameRange, ContainsItsStartAndNotItsEnd) {
    const FrameRange range{10, 13};

    EXPECT_FALSE(range.Contains(9));
    EXPECT_TRUE(range.Contains(10));
    EXPECT_TRUE(range.Contains(12));
    EXPECT_FALSE(range.Contains(13));
    EXPECT_EQ(range.Count(), 3);
    EXPECT_FALSE(range.IsEmpty());
}

TEST(FrameRange, AnEmptyOrReversedRangeHasNoPositions) {
    for (const FrameRange& range : {FrameRange{}, FrameRange{5, 5}, FrameRange{5, 2}}) {
        EXPECT_TRUE(range.IsEmpty());
        EXPECT_EQ(range.Count(), 0);
        EXPECT_FALSE(range.Contains(range.start));
    }
}

TEST(FrameRange, RangesAreEqualWhenBothEndsAre) {
    EXPECT_EQ((FrameRange{1, 2}), (FrameRange{1, 2}));
    EXPECT_NE((FrameRange{1, 2}), (FrameRange{1, 3}));
    EXPECT_NE((FrameRange{1, 2}), (FrameRange{0, 2}));
}

}  // namespace
