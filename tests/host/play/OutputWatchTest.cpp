// SPDX-License-Identifier: MIT
#include "host/play/OutputWatch.h"

#include <gmock/gmock.h>

namespace {

using namespace orlo::host;
using orlo::sonrel::AudioOutputState;
using std::chrono::milliseconds;
using testing::HasSubstr;

constexpr OutputWatch::Clock::time_point START{std::chrono::hours(1)};

/// Checks every half second.
/// @return the last result
std::string CheckUntil(OutputWatch& watch, const AudioOutputState& state, milliseconds from,
                       milliseconds to) {
    std::string failure;
    for (milliseconds at = from; at <= to; at += milliseconds(500)) {
        failure = watch.Check(state, START + at);
    }
    return failure;
}

TEST(OutputWatch, ALostDeviceIsAFailureAtOnce) {
    OutputWatch watch;

    EXPECT_EQ(watch.Check({false, 512}, START), "");

    EXPECT_THAT(watch.Check({true, 1024}, START + milliseconds(4)), HasSubstr("lost"));
}

TEST(OutputWatch, ADeviceMayTakeNothingForFiveSeconds) {
    OutputWatch watch;

    EXPECT_EQ(CheckUntil(watch, {false, 512}, milliseconds(0), milliseconds(5000)), "");
    EXPECT_THAT(watch.Check({false, 512}, START + milliseconds(5001)),
                HasSubstr("has taken nothing for 5 seconds"));
}

TEST(OutputWatch, TheFiveSecondsBeginWithTheLastSamplesTaken) {
    OutputWatch watch;
    CheckUntil(watch, {false, 512}, milliseconds(0), milliseconds(4000));

    EXPECT_EQ(CheckUntil(watch, {false, 513}, milliseconds(4500), milliseconds(9500)), "");
    EXPECT_NE(watch.Check({false, 513}, START + milliseconds(9501)), "");
}

TEST(OutputWatch, ChecksOneSecondApartStillCount) {
    OutputWatch watch;
    for (int second = 0; second <= 5; ++second) {
        EXPECT_EQ(watch.Check({false, 512}, START + std::chrono::seconds(second)), "");
    }

    EXPECT_NE(watch.Check({false, 512}, START + std::chrono::seconds(6)), "");
}

TEST(OutputWatch, TheTimeInWhichTheProgramWasStoppedDoesNotCount) {
    OutputWatch watch;
    CheckUntil(watch, {false, 512}, milliseconds(0), milliseconds(4000));

    EXPECT_EQ(CheckUntil(watch, {false, 512}, milliseconds(5001), milliseconds(10001)), "");
    EXPECT_NE(watch.Check({false, 512}, START + milliseconds(10002)), "");
}

}  // namespace
