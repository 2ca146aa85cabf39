// SPDX-License-Identifier: MIT
#include "sonrel/media/index/SweptMap.h"

#include <gtest/gtest.h>

using zrh::media::detail::SweptMap;

namespace {

TEST(SweptMap, ExaminesEachLivingEntryAFewTimesForAnyNumberOfEntries) {
    SweptMap<int, int> map;
    long long looks = 0;

    for (int i = 0; i < 100000; ++i) {
        map.At(i, [&](int) {
            ++looks;
            return false;
        });
    }

    // 64 + 128 + ... + 65536.
    EXPECT_EQ(looks, 131008);
    EXPECT_EQ(map.Size(), 100000u);
}

TEST(SweptMap, RemovesDeadEntries) {
    SweptMap<int, int> map;

    for (int i = 0; i < 100000; ++i) map.At(i, [](int) { return true; });

    EXPECT_LE(map.Size(), 64u);
}

TEST(SweptMap, KeepsTheValueOfALivingEntry) {
    SweptMap<int, int> map;
    map.At(5, [](int) { return true; }) = 7;

    for (int i = 100; i < 1000; ++i) map.At(i, [](int value) { return value == 0; });

    EXPECT_EQ(map.At(5, [](int) { return true; }), 7);
}

}  // namespace
