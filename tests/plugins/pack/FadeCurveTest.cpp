// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/FadeCurve.h"

#include <gtest/gtest.h>

namespace orlo::sonrel::detail {
namespace {

TEST(FadeCurve, LinearGainsAddUpToOne) {
    EXPECT_EQ(LeavingGain(FadeCurve::Linear, 0.0), 1.0);
    EXPECT_EQ(LeavingGain(FadeCurve::Linear, 0.25), 0.75);
    EXPECT_EQ(LeavingGain(FadeCurve::Linear, 1.0), 0.0);
    EXPECT_EQ(EnteringGain(FadeCurve::Linear, 0.0), 0.0);
    EXPECT_EQ(EnteringGain(FadeCurve::Linear, 0.25), 0.25);
    EXPECT_EQ(EnteringGain(FadeCurve::Linear, 1.0), 1.0);
}

TEST(FadeCurve, EqualPowerIsCosineAndSineOfAQuarterTurn) {
    EXPECT_EQ(LeavingGain(FadeCurve::EqualPower, 0.0), 1.0);
    EXPECT_NEAR(LeavingGain(FadeCurve::EqualPower, 1.0 / 3.0), 0.8660254037844386, 1e-15);
    EXPECT_NEAR(LeavingGain(FadeCurve::EqualPower, 0.5), 0.7071067811865476, 1e-15);
    EXPECT_NEAR(LeavingGain(FadeCurve::EqualPower, 1.0), 0.0, 1e-15);
    EXPECT_EQ(EnteringGain(FadeCurve::EqualPower, 0.0), 0.0);
    EXPECT_NEAR(EnteringGain(FadeCurve::EqualPower, 1.0 / 3.0), 0.5, 1e-15);
    EXPECT_NEAR(EnteringGain(FadeCurve::EqualPower, 0.5), 0.7071067811865476, 1e-15);
    EXPECT_EQ(EnteringGain(FadeCurve::EqualPower, 1.0), 1.0);
}

TEST(FadeCurve, DecibelCoversSixtyDecibelsAndEndsInSilence) {
    EXPECT_EQ(LeavingGain(FadeCurve::Decibel, 0.0), 1.0);
    EXPECT_NEAR(LeavingGain(FadeCurve::Decibel, 1.0 / 3.0), 0.1, 1e-15);
    EXPECT_NEAR(LeavingGain(FadeCurve::Decibel, 2.0 / 3.0), 0.01, 1e-15);
    EXPECT_NEAR(LeavingGain(FadeCurve::Decibel, 0.999999), 0.001, 1e-8);
    EXPECT_EQ(LeavingGain(FadeCurve::Decibel, 1.0), 0.0);
    EXPECT_EQ(EnteringGain(FadeCurve::Decibel, 0.0), 0.0);
    EXPECT_NEAR(EnteringGain(FadeCurve::Decibel, 0.000001), 0.001, 1e-8);
    EXPECT_NEAR(EnteringGain(FadeCurve::Decibel, 1.0 / 3.0), 0.01, 1e-15);
    EXPECT_EQ(EnteringGain(FadeCurve::Decibel, 1.0), 1.0);
}

TEST(FadeCurve, IsHeldOutsideTheFade) {
    for (const FadeCurve curve : {FadeCurve::Linear, FadeCurve::EqualPower, FadeCurve::Decibel}) {
        EXPECT_EQ(LeavingGain(curve, -3.0), LeavingGain(curve, 0.0));
        EXPECT_EQ(LeavingGain(curve, 4.0), LeavingGain(curve, 1.0));
        EXPECT_EQ(EnteringGain(curve, -3.0), EnteringGain(curve, 0.0));
        EXPECT_EQ(EnteringGain(curve, 4.0), EnteringGain(curve, 1.0));
    }
}

}  // namespace
}  // namespace orlo::sonrel::detail
