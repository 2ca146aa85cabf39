// SPDX-License-Identifier: MIT
// A fixed sample of the storms of `./check storms`.
#include <gmock/gmock.h>

#include <chrono>
#include <sstream>

#include "tests/playback/storms/Storm.h"

namespace sonrel_tests {
namespace {

constexpr int COMMANDS = 1000;
/// Only a broken build meets it: the machine may be busy.
constexpr std::chrono::seconds MAX_TIME_OF_A_COMMAND{20};

class PlaybackStorm : public testing::TestWithParam<std::tuple<StormProfile, unsigned int>> {};

TEST_P(PlaybackStorm, EveryCommandReturnsInTimeWithOneOfItsCodes) {
    const auto [profile, seed] = GetParam();
    Storm storm(seed, MAX_TIME_OF_A_COMMAND);

    const StormOutcome outcome = storm.Run(MakeStormScript(profile, seed, COMMANDS));

    EXPECT_EQ(outcome.commands, COMMANDS);
    EXPECT_EQ(outcome.faultCount, 0);
    EXPECT_THAT(outcome.faults, testing::IsEmpty());
    EXPECT_GT(outcome.framesTaken, 0);
    EXPECT_EQ(outcome.refusedCalls > 0, profile == StormProfile::Faults);
}

INSTANTIATE_TEST_SUITE_P(Playback, PlaybackStorm,
                         testing::Combine(testing::ValuesIn(STORM_PROFILES),
                                          testing::Values(1u, 2u)),
                         [](const auto& storm) {
                             return NameOf(std::get<0>(storm.param)) + "_" +
                                    std::to_string(std::get<1>(storm.param));
                         });

TEST(PlaybackStormScript, IsTheSameForTheSameSeedAndReadsBack) {
    const StormScript script = MakeStormScript(StormProfile::Faults, 7, 200);
    std::ostringstream written;
    WriteStormScript(written, script);
    std::ostringstream again;
    WriteStormScript(again, MakeStormScript(StormProfile::Faults, 7, 200));
    EXPECT_EQ(again.str(), written.str());

    std::istringstream text(written.str());
    std::ostringstream read;
    WriteStormScript(read, ReadStormScript(text));

    EXPECT_EQ(read.str(), written.str());
}

TEST(PlaybackStormScript, RefusesALineThatIsNotACommand) {
    std::istringstream cut("stop 0 0\n");
    EXPECT_THROW(ReadStormScript(cut), std::runtime_error);

    Storm storm(1, MAX_TIME_OF_A_COMMAND);
    EXPECT_THROW(storm.Run({{"rewind", {}}}), std::runtime_error);
}

}  // namespace
}  // namespace sonrel_tests
