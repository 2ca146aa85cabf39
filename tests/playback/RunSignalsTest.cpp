// SPDX-License-Identifier: MIT
#include "sonrel/playback/detail/RunSignals.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "sonrel/playback/detail/BufferEndEvent.h"

namespace {

using orlo::sonrel::detail::BufferEndEvent;
using orlo::sonrel::detail::RunSignals;
using Request = RunSignals::Request;

constexpr std::chrono::milliseconds SHORT{1};
constexpr std::chrono::seconds LONG{20};  // only a broken build waits as long

/// A worker that parks on a thread of its own.
std::future<bool> ParkElsewhere(RunSignals& signals) {
    return std::async(std::launch::async, [&] { return signals.Park(); });
}

TEST(RunSignals, NothingIsRequestedAtFirst) {
    RunSignals signals;

    EXPECT_EQ(signals.Take(), Request::None);
    EXPECT_FALSE(signals.StopIsRequested());
}

TEST(RunSignals, AStopIsTakenOnce) {
    RunSignals signals;
    signals.Stop();

    EXPECT_TRUE(signals.StopIsRequested());
    EXPECT_EQ(signals.Take(), Request::Stop);
    EXPECT_EQ(signals.Take(), Request::None);
}

TEST(RunSignals, AFlushGoesBeforeAStopAndLeavesItThere) {
    RunSignals signals;
    signals.Stop();
    signals.RequestFlush();

    EXPECT_EQ(signals.Take(), Request::Flush);
    EXPECT_EQ(signals.Take(), Request::Stop);
}

TEST(RunSignals, TheWaitForAParkedWorkerEndsInTime) {
    RunSignals signals;
    signals.RequestFlush();

    EXPECT_FALSE(signals.WaitUntilParked(SHORT));
}

TEST(RunSignals, AParkedWorkerGoesOnWhenTheFlushEnds) {
    RunSignals signals;
    signals.RequestFlush();
    ASSERT_EQ(signals.Take(), Request::Flush);
    auto worker = ParkElsewhere(signals);

    EXPECT_TRUE(signals.WaitUntilParked(LONG));
    signals.EndFlush();

    EXPECT_TRUE(worker.get());
}

TEST(RunSignals, AParkedWorkerLeavesOnAStop) {
    RunSignals signals;
    signals.RequestFlush();
    ASSERT_EQ(signals.Take(), Request::Flush);
    auto worker = ParkElsewhere(signals);
    ASSERT_TRUE(signals.WaitUntilParked(LONG));

    signals.Stop();

    EXPECT_FALSE(worker.get());
}

TEST(RunSignals, AWorkerThatComesToAFlushThatWasGivenUpDoesNotPark) {
    RunSignals signals;
    signals.RequestFlush();
    signals.EndFlush();

    EXPECT_EQ(signals.Take(), Request::Flush);
    EXPECT_TRUE(signals.Park());
}

TEST(RunSignals, AWorkerOnItsWayParksForTheNextFlush) {
    RunSignals signals;
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

TEST(RunSignals, ARequestThatWasNotTakenServesTheNextFlush) {
    RunSignals signals;
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

TEST(RunSignals, ResetForgetsAFlushThatWasGivenUpAndAStop) {
    RunSignals signals;
    signals.RequestFlush();
    signals.EndFlush();
    signals.Stop();

    signals.Reset();

    EXPECT_EQ(signals.Take(), Request::None);
}

TEST(RunSignals, AStopCanBeTakenAlone) {
    RunSignals signals;
    signals.RequestFlush();
    EXPECT_FALSE(signals.TakeStop());
    signals.Stop();

    EXPECT_TRUE(signals.TakeStop());
    EXPECT_FALSE(signals.TakeStop());
    EXPECT_EQ(signals.Take(), Request::Flush);
}

TEST(BufferEndEvent, OneWaitTakesAnyNumberOfSignals) {
    BufferEndEvent event;
    event.Signal();
    event.Signal();
    event.Wait();

    auto waiter = std::async(std::launch::async, [&] { event.Wait(); });
    EXPECT_EQ(waiter.wait_for(SHORT), std::future_status::timeout);
    event.Signal();

    EXPECT_EQ(waiter.wait_for(LONG), std::future_status::ready);
}

}  // namespace
