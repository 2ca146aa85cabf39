// SPDX-License-Identifier: MIT
#include "host/report/WavePath.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

TEST(WavePath, EnclosesAWaveformInStepsAndJoinsEqualNeighbours) {
    // Full scale is 40 units from the centre at 40: above for two points, below for one.
    EXPECT_EQ(WavePath({{-127, 0, 0}, {127, 127, 0}}), "M0 40V0h2v40h1V40h-2v40h-1z");
}

TEST(WavePath, OnePointIsARectangle) {
    EXPECT_EQ(WavePath({{-64}, {64}}), "M0 40V20h1V60h-1z");
}

TEST(WavePath, OfAClipWithoutSoundIsEmpty) {
    EXPECT_EQ(WavePath({}), "");
}

}  // namespace
}  // namespace orlo::host
