// SPDX-License-Identifier: MIT
#include "host/align/Drift.h"

#include <gtest/gtest.h>

namespace {

using namespace orlo::host;

TEST(DriftLine, LeadsThroughTheOffsetsOfThePlaces) {
    // 100 ppm: 40 frames in 400,000, from 10 frames above the offset of the whole.
    Measure whole;
    whole.correlation = 0.9;
    whole.offset = 5000;
    std::vector<Measure> places;
    for (const long long start : {0, 100000, 200000, 300000, 400000}) {
        Measure place;
        place.correlation = 0.9;
        place.place = {start, start + 1000};
        place.offset = 5010 + start / 10000;
        places.push_back(place);
    }

    const std::optional<Drift> drift = FitDrift(places, whole, {0, 401000}, 8000);

    ASSERT_TRUE(drift.has_value());
    EXPECT_NEAR(drift->ppm, 100.0, 1e-6);
    // A place counts at its middle.
    EXPECT_NEAR(drift->At(500), 10.0, 1e-6);
    EXPECT_NEAR(drift->At(400500), 50.0, 1e-6);
    EXPECT_NEAR(drift->At(200500), 30.0, 1e-6);
}

}  // namespace
