// SPDX-License-Identifier: MIT
// How long a flush waits for the worker.
#include "sonrel/playback/detail/FlushWait.h"

#include <gtest/gtest.h>

#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

using std::chrono::milliseconds;

/// A worker that parks in one of the periods, and a run that ends in one of them.
struct FlushWait : testing::Test {
    Err Wait() {
        return sonrel::detail::WaitForParkedWorker(
            [this](milliseconds period) {
                EXPECT_EQ(period, milliseconds(10));
                ++periods;
                if (periods == endsIn) isPlaying = false;
                return periods == parksIn;
            },
            isPlaying, sonrel::detail::FLUSH_TIMEOUT);
    }

    int parksIn = 0;  // never
    int endsIn = 0;   // never
    int periods = 0;
    std::atomic<bool> isPlaying = true;
};

TEST_F(FlushWait, GivesUpAfterFiftyOnePeriodsOfTenMilliseconds) {
    EXPECT_EQ(Wait(), Err::FlushFailed);

    EXPECT_EQ(periods, 51);
}

TEST_F(FlushWait, SucceedsInTheLastPeriod) {
    parksIn = 51;

    EXPECT_EQ(Wait(), Err::NoError);
}

TEST_F(FlushWait, EndsWithTheRun) {
    endsIn = 2;

    EXPECT_EQ(Wait(), Err::NotPlaying);

    EXPECT_EQ(periods, 2);
}

TEST_F(FlushWait, AParkedWorkerCountsEvenWhenTheRunEndsInTheSamePeriod) {
    parksIn = 1;
    endsIn = 1;

    EXPECT_EQ(Wait(), Err::NoError);
}

}  // namespace
}  // namespace sonrel_tests
