// SPDX-License-Identifier: MIT
#include "sonrel/sync/LevelProfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "tests/sync/AlignmentRig.h"

namespace sonrel_tests {
namespace {

using orlo::sonrel::LevelProfile;
using orlo::sonrel::SpreadSeconds;
using zrtl::FrameRange;

/// A hundred blocks of a peak file a second: one for each value of the profile.
constexpr int PROFILE_RATE = 3200;
constexpr int BIN = 32;
/// A peak file stores levels in 8 bits.
constexpr double TOLERANCE = 0.01;

/// A recording that is silent except for some seconds of a constant level.
/// @param loud  first frame and level of each second
Recording Seconds(int frames, const std::vector<std::pair<int, short>>& loud) {
    Recording recording;
    recording.rate = PROFILE_RATE;
    recording.nativeRate = PROFILE_RATE;
    recording.samples.assign(2 * static_cast<std::size_t>(frames), 0);
    for (const auto& [start, level] : loud) {
        const auto at = recording.samples.begin() + 2 * start;
        std::fill(at, at + 2 * PROFILE_RATE, level);
    }
    return recording;
}

class LevelProfileTest : public testing::Test {
protected:
    LevelProfile ProfileOf(const Recording& recording) {
        const auto asset = rig_.Add(recording);
        auto profile = LevelProfile::Read(*asset->AudioStream(), PROFILE_RATE);
        return profile.value_or(LevelProfile());
    }

    AlignmentRig rig_;
};

TEST_F(LevelProfileTest, HasThePeakOfEveryStretch) {
    const LevelProfile profile = ProfileOf(Seconds(3 * PROFILE_RATE, {{PROFILE_RATE, 16384}}));

    EXPECT_EQ(profile.Peak(0, PROFILE_RATE), 0.0);
    EXPECT_NEAR(profile.Peak(0, PROFILE_RATE + 2 * BIN), 0.5, TOLERANCE);
    EXPECT_NEAR(profile.Peak(PROFILE_RATE + 1, PROFILE_RATE + 2), 0.5, TOLERANCE)
        << "a stretch within one value of the profile";
    EXPECT_EQ(profile.Peak(2 * PROFILE_RATE, 3 * PROFILE_RATE), 0.0);
    EXPECT_EQ(profile.Peak(9 * PROFILE_RATE, 10 * PROFILE_RATE), 0.0) << "after the end";
}

TEST_F(LevelProfileTest, HasTheRmsOfEveryStretch) {
    const LevelProfile profile = ProfileOf(Seconds(3 * PROFILE_RATE, {{PROFILE_RATE, 16384}}));

    EXPECT_EQ(profile.Rms(0, PROFILE_RATE), 0.0);
    EXPECT_NEAR(profile.Rms(PROFILE_RATE, 2 * PROFILE_RATE), 0.5, TOLERANCE);
    // Half of the energy in twice the time.
    EXPECT_NEAR(profile.Rms(PROFILE_RATE, 3 * PROFILE_RATE), 0.3536, TOLERANCE);
    EXPECT_EQ(profile.Rms(PROFILE_RATE, PROFILE_RATE), 0.0);
}

TEST_F(LevelProfileTest, SpreadsSecondsOverTheWholeRecording) {
    constexpr int FRAMES = 16 * PROFILE_RATE;
    const auto second = [](int number) {
        return FrameRange{number * PROFILE_RATE, (number + 1) * PROFILE_RATE};
    };
    // One loud second in each quarter.
    const LevelProfile profile = ProfileOf(Seconds(FRAMES, {{2 * PROFILE_RATE, 4000},
                                                            {5 * PROFILE_RATE, 16000},
                                                            {9 * PROFILE_RATE, 2000},
                                                            {14 * PROFILE_RATE, 8000}}));

    const std::vector<FrameRange> found = SpreadSeconds(profile, FRAMES, PROFILE_RATE, 4);

    // The loudest first, then the first and the last second of the recording.
    const std::vector<int> expected = {5, 14, 2, 9, 0, 15};
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(found[i].start, second(expected[i]).start) << i;
        EXPECT_EQ(found[i].end, second(expected[i]).end) << i;
    }
}

TEST_F(LevelProfileTest, ARecordingWithoutAPeakFileHasNoProfile) {
    const auto asset = rig_.AddWithoutPeaks(Seconds(PROFILE_RATE, {}));

    EXPECT_FALSE(LevelProfile::Read(*asset->AudioStream(), PROFILE_RATE).has_value());
}

}  // namespace
}  // namespace sonrel_tests
