// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/WorkerControl.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace {

using orlo::sonrel::detail::WorkerControl;
using Request = WorkerControl::Request;

constexpr std::chrono::milliseconds SHORT{1};
constexpr std::chrono::seconds LONG{20};  // only a broken build waits as long

/// A worker that parks on another thread.
std::future<bool> ParkElsewhere(WorkerControl& control) {
    return std::async(std::launch::async, [&] { return control.Park(); });
}

TEST(WorkerControl, NothingIsRequestedAtFirst) {
    WorkerControl control;

    EXPECT_EQ(control.Take(), Request::None);
    EXPECT_FALSE(control.StopIsRequested());
}

TEST(WorkerControl, AStopIsTakenOnce) {
    WorkerControl control;
    control.Stop();

    EXPECT_TRUE(control.StopIsRequested());
    EXPECT_EQ(control.Take(), Request::Stop);
    EXPECT_EQ(control.Take(), Request::None);
}

TEST(WorkerControl, AFlushTakesPrecedenceOverAStopAndLeavesItPending) {
    WorkerControl control;
    control.Stop();
    control.RequestFlush();

    EXPECT_EQ(control.Take(), Request::Flush);
    EXPECT_EQ(control.Take(), Request::Stop);
}

TEST(WorkerControl, TheWaitForAParkedWorkerHasATimeout) {
    WorkerControl control;
    control.RequestFlush();

    EXPECT_FALSE(control.WaitUntilParked(SHORT));
}

TEST(WorkerControl, AParkedWorkerResumesWhenTheFlushEnds) {
    WorkerControl control;
    control.RequestFlush();
    ASSERT_EQ(control.Take(), Request::Flush);
    auto worker = ParkElsewhere(control);

    EXPECT_TRUE(control.WaitUntilParked(LONG));
    control.EndFlush();

    EXPECT_TRUE(worker.get());
}

TEST(WorkerControl, AStopEndsTheParking) {
    WorkerControl control;
    control.RequestFlush();
    ASSERT_EQ(control.Take(), Request::Flush);
    auto worker = ParkElsewhere(control);
    ASSERT_TRUE(control.WaitUntilParked(LONG));

    control.Stop();

    EXPECT_FALSE(worker.get());
}

TEST(WorkerControl, AWorkerThatSeesAFlushThatWasGivenUpDoesNotPark) {
    WorkerControl control;
    control.RequestFlush();
    control.EndFlush();

    EXPECT_EQ(control.Take(), Request::Flush);
    EXPECT_TRUE(control.Park());
}

TEST(WorkerControl, AWorkerThatHasTakenARequestParksForTheNextFlush) {
    WorkerControl control;
    control.RequestFlush();
    ASSERT_EQ(control.Take(), Request::Flush);
    control.EndFlush();
    control.RequestFlush();
    auto worker = ParkElsewhere(control);

    EXPECT_TRUE(control.WaitUntilParked(LONG));
    control.EndFlush();

    EXPECT_TRUE(worker.get());
    EXPECT_EQ(control.Take(), Request::None);
}

TEST(WorkerControl, AnUntakenRequestServesTheNextFlush) {
    WorkerControl control;
    control.RequestFlush();
    control.EndFlush();
    control.RequestFlush();
    ASSERT_EQ(control.Take(), Request::Flush);
    auto worker = ParkElsewhere(control);

    EXPECT_TRUE(control.WaitUntilParked(LONG));
    control.EndFlush();

    EXPECT_TRUE(worker.get());
    EXPECT_EQ(control.Take(), Request::None);
}

TEST(WorkerControl, ResetForgetsAFlushThatWasGivenUpAndAStop) {
    WorkerControl control;
    control.RequestFlush();
    control.EndFlush();
    control.Stop();

    control.Reset();

    EXPECT_EQ(control.Take(), Request::None);
}

TEST(WorkerControl, AStopCanBeTakenWithoutAPendingFlush) {
    WorkerControl control;
    control.RequestFlush();
    EXPECT_FALSE(control.TakeStop());
    control.Stop();

    EXPECT_TRUE(control.TakeStop());
    EXPECT_FALSE(control.TakeStop());
    EXPECT_EQ(control.Take(), Request::Flush);
}

}  // namespace
