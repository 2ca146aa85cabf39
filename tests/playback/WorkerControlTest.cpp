// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/WorkerControl.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "sonrel/playback/detail/AutoResetEvent.h"

namespace {

using orlo::sonrel::detail::AutoResetEvent;
using orlo::sonrel::detail::WorkerControl;
using Request = WorkerControl::Request;

constexpr std::chrono::milliseconds SHORT{1};
constexpr std::chrono::seconds LONG{20};  // only a broken build waits as long

/// A worker that parks on a thread of its own.
std::future<bool> ParkElsewhere(WorkerControl& signals) {
    return std::async(std::launch::async, [&] { return signals.Park(); });
}

TEST(WorkerControl, NothingIsRequestedAtFirst) {
    WorkerControl signals;

    EXPECT_EQ(signals.Take(), Request::None);
    EXPECT_FALSE(signals.StopIsRequested());
}

TEST(WorkerControl, AStopIsTakenOnce) {
    WorkerControl signals;
    signals.Stop();

    EXPECT_TRUE(signals.StopIsRequested());
    EXPECT_EQ(signals.Take(), Request::Stop);
    EXPECT_EQ(signals.Take(), Request::None);
}

TEST(WorkerControl, AFlushGoesBeforeAStopAndLeavesItThere) {
    WorkerControl signals;
    signals.Stop();
    signals.RequestFlush();

    EXPECT_EQ(signals.Take(), Request::Flush);
    EXPECT_EQ(signals.Take(), Request::Stop);
}

TEST(WorkerControl, TheWaitForAParkedWorkerEndsInTime) {
    WorkerControl signals;
    signals.RequestFlush();

    EXPECT_FALSE(signals.WaitUntilParked(SHORT));
}

TEST(WorkerControl, AParkedWorkerGoesOnWhenTheFlushEnds) {
    WorkerControl signals;
    signals.RequestFlush();
    ASSERT_EQ(signals.Take(), Request::Flush);
    auto worker = ParkElsewhere(signals);

    EXPECT_TRUE(signals.WaitUntilParked(LONG));
    signals.EndFlush();

    EXPECT_TRUE(worker.get());
}

TEST(WorkerControl, AParkedWorkerLeavesOnAStop) {
    WorkerControl signals;
    signals.RequestFlush();
    ASSERT_EQ(signals.Take(), Request::Flush);
    auto worker = ParkElsewhere(signals);
    ASSERT_TRUE(signals.WaitUntilParked(LONG));

    signals.Stop();

    EXPECT_FALSE(worker.get());
}

TEST(WorkerControl, AWorkerThatComesToAFlushThatWasGivenUpDoesNotPark) {
    WorkerControl signals;
    signals.RequestFlush();
    signals.EndFlush();

    EXPECT_EQ(signals.Take(), Request::Flush);
    EXPECT_TRUE(signals.Park());
}

TEST(WorkerControl, AWorkerOnItsWayParksForTheNextFlush) {
    WorkerControl signals;
    signals.RequestFlush();
    ASSERT_EQ(signals.Take(), Request::Flush);
    signals.EndFlush();
    signals.RequestFlush();
    auto worker = ParkElsewhere(signals);

    EXPECT_TRUE(signals.WaitUntilParked(LONG));
    signals.EndFlush();

    EXPECT_TRUE(worker.get());
    EXPECT_EQ(signals.Take(), Request::None);
}

TEST(WorkerControl, ARequestThatWasNotTakenServesTheNextFlush) {
    WorkerControl signals;
    signals.RequestFlush();
    signals.EndFlush();
    signals.RequestFlush();
    ASSERT_EQ(signals.Take(), Request::Flush);
    auto worker = ParkElsewhere(signals);

    EXPECT_TRUE(signals.WaitUntilParked(LONG));
    signals.EndFlush();

    EXPECT_TRUE(worker.get());
    EXPECT_EQ(signals.Take(), Request::None);
}

TEST(WorkerControl, ResetForgetsAFlushThatWasGivenUpAndAStop) {
    WorkerControl signals;
    signals.RequestFlush();
    signals.EndFlush();
    signals.Stop();

    signals.Reset();

    EXPECT_EQ(signals.Take(), Request::None);
}

TEST(WorkerControl, AStopCanBeTakenAlone) {
    WorkerControl signals;
    signals.RequestFlush();
    EXPECT_FALSE(signals.TakeStop());
    signals.Stop();

    EXPECT_TRUE(signals.TakeStop());
    EXPECT_FALSE(signals.TakeStop());
    EXPECT_EQ(signals.Take(), Request::Flush);
}

TEST(AutoResetEvent, OneWaitTakesAnyNumberOfSignals) {
    AutoResetEvent event;
    event.Signal();
    event.Signal();
    event.Wait();

    auto waiter = std::async(std::launch::async, [&] { event.Wait(); });
    EXPECT_EQ(waiter.wait_for(SHORT), std::future_status::timeout);
    event.Signal();

    EXPECT_EQ(waiter.wait_for(LONG), std::future_status::ready);
}

}  // namespace
