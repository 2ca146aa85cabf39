// SPDX-License-Identifier: MIT
#include "host/mix/GainSearch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "host/shell/Errors.h"

namespace orlo::host {
namespace {

/// A mix whose levels follow the gain exactly, and that clips above full scale.
class IdealMix {
public:
    /// @param peakDb  peak of the samples, and the true peak
    IdealMix(double lufs, double peakDb) : lufs_(lufs), peakDb_(peakDb) {}

    MixLevels operator()(double gainDb) {
        gains.push_back(gainDb);
        const double peak = std::pow(10.0, (peakDb_ + gainDb) / 20.0);
        return {lufs_ + gainDb, peakDb_ + gainDb, peak >= 1.0, peak};
    }

    std::vector<double> gains;

private:
    double lufs_;
    double peakDb_;
};

TEST(GainSearch, AMixThatDoesNotClipIsMeasuredOnce) {
    IdealMix mix(-30.0, -20.0);

    const FoundGain found = FindGain({-23.0, -1.0}, std::ref(mix));

    EXPECT_NEAR(found.gainDb, 7.0, 1e-9);
    EXPECT_FALSE(found.limitedByTruePeak);
    EXPECT_EQ(mix.gains, std::vector<double>{0.0});
    EXPECT_EQ(found.measurements, 1);
}

TEST(GainSearch, TheTruePeakLimitWinsOverTheLoudness) {
    IdealMix mix(-30.0, -4.0);

    const FoundGain found = FindGain({-23.0, -1.0}, std::ref(mix));

    // 3 dB, less the room for the noise: 4 / 32768 of full scale is 0.0012 dB at -1 dB.
    EXPECT_NEAR(found.gainDb, 2.9988, 0.0002);
    EXPECT_TRUE(found.limitedByTruePeak);
}

TEST(GainSearch, AMixThatClipsIsMeasuredAgainWithALowerGain) {
    IdealMix mix(-3.0, 6.0);

    const FoundGain found = FindGain({-23.0, -1.0}, std::ref(mix));

    EXPECT_NEAR(found.gainDb, -20.0, 1e-9);
    ASSERT_EQ(mix.gains.size(), 2u);
    EXPECT_LT(mix.gains[1], -6.0);
    EXPECT_NEAR(found.measuredLufs, -3.0, 1e-9);
    EXPECT_NEAR(found.measuredTruePeakDb, 6.0, 1e-9);
}

TEST(GainSearch, AQuietMixIsMeasuredAgainWithItsGain) {
    IdealMix mix(-60.0, -50.0);

    const FoundGain found = FindGain({-23.0, -1.0}, std::ref(mix));

    EXPECT_NEAR(found.gainDb, 37.0, 1e-9);
    ASSERT_EQ(mix.gains.size(), 2u);
    EXPECT_NEAR(mix.gains[1], 37.0, 1e-9);
}

TEST(GainSearch, AMixWithoutLoudnessIsAFailure) {
    const auto silence = [](double) { return MixLevels{}; };

    EXPECT_THROW(FindGain({-23.0, -1.0}, silence), JobError);
}

TEST(GainSearch, AMixThatAlwaysClipsIsAFailure) {
    const auto loud = [](double) { return MixLevels{-1.0, 0.0, true, 1.0}; };
    const auto infinite = [](double) {
        return MixLevels{-1.0, 0.0, true, std::numeric_limits<double>::infinity()};
    };

    EXPECT_THROW(FindGain({-23.0, -1.0}, loud), JobError);
    EXPECT_THROW(FindGain({-23.0, -1.0}, infinite), JobError);
}

}  // namespace
}  // namespace orlo::host
